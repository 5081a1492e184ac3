# Shared helpers for the folder targets.

# Warnings on our own code only; third-party headers come in as SYSTEM includes.
function(osmera_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror -Wno-missing-field-initializers)
endfunction()

# osmera_library(<name> [DEPS <targets>...])
# One library per folder, made of every .cpp/.h in the calling folder. The source
# root is the include root, so code writes #include "core/sound_time.h".
function(osmera_library name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  if(sources)
    add_library(${name} STATIC ${sources} ${headers})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARG_DEPS})
    osmera_warnings(${name})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# osmera_test(<folder> [DEPS <targets>...])
# One GoogleTest program per tests/<folder>, each test registered with CTest.
function(osmera_test folder)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  set(target test_${folder})
  add_executable(${target} ${sources})
  target_link_libraries(${target} PRIVATE ${ARG_DEPS} osmera_testing GTest::gtest_main GTest::gmock)
  osmera_warnings(${target})
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "OSMERA_TEST_DATA=${CMAKE_CURRENT_SOURCE_DIR}/data")
endfunction()
