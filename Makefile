# Two commands do everything on a fresh Debian machine:
#   make run    install what is missing, build, start the program
#   make test   install what is missing, build, run every test (plain, sanitized, fuzzed)
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

.PHONY: run test deps build test-format test-plain test-asan test-tsan test-fuzz bench format clean \
  package test-package

deps:
	@scripts/install-deps.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

# Builds the editor (and the command-line program) and starts the editor; without a display
# it says so and points to the command-line program instead.
run: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS) --target osmera osmera-cli
	@if [ -z "$$DISPLAY" ] && [ -z "$$WAYLAND_DISPLAY" ]; then \
	  echo "No display (neither DISPLAY nor WAYLAND_DISPLAY is set): the editor needs one; use $(BUILD)/cli/osmera-cli instead (osmera-cli --help)."; \
	else \
	  $(BUILD)/app/osmera; \
	fi

# The plain suite runs last so that its summary closes the output.
test: test-format test-tsan test-asan test-fuzz test-package test-plain

# Every source file as clang-format (.clang-format) writes it; `make format` fixes them.
test-format: deps
	git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror

test-plain: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The engine and command-line program under AddressSanitizer and UBSan. Leaks inside the
# codec libraries reached through libsndfile are suppressed as for the fuzz targets.
test-asan: deps
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug \
	  -DOSMERA_SANITIZE=address,undefined -DOSMERA_WITH_QT=OFF -DOSMERA_BUILD_BENCH=OFF
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	LSAN_OPTIONS="suppressions=$(CURDIR)/fuzz/lsan.supp:print_suppressions=0" \
	  ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

# The threaded parts (devices, and the cut tank's shared counts) under ThreadSanitizer.
TSAN_TESTS := test_devices test_edit
test-tsan: deps
	cmake -S . -B build-tsan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug \
	  -DOSMERA_SANITIZE=thread -DOSMERA_WITH_QT=OFF -DOSMERA_BUILD_BENCH=OFF
	cmake --build build-tsan -j $(JOBS) --target $(TSAN_TESTS)
	set -e; for t in $(TSAN_TESTS); do \
	  if [ -x build-tsan/tests/$$t ]; then \
	    TSAN_OPTIONS="suppressions=$(CURDIR)/tests/tsan.supp" build-tsan/tests/$$t --gtest_brief=1; fi; done

# The readers of outside input (audio files, scripts, settings files) under libFuzzer with
# AddressSanitizer and UBSan, FUZZ_SECONDS each from their seed corpus (fuzz/run.sh).
FUZZ_BUILD   ?= build-fuzz
FUZZ_SECONDS ?= 20
FUZZ_TARGETS := $(basename $(notdir $(wildcard fuzz/*_fuzz.cpp)))
test-fuzz: deps
	cmake -S . -B $(FUZZ_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DCMAKE_CXX_COMPILER=clang++ -DOSMERA_FUZZ=ON \
	  -DOSMERA_SANITIZE=address,undefined,fuzzer-no-link -DOSMERA_WITH_QT=OFF -DOSMERA_BUILD_BENCH=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target $(FUZZ_TARGETS)
	fuzz/run.sh $(FUZZ_BUILD) $(FUZZ_SECONDS)

# The Debian package, $(PACKAGE_BUILD)/osmera_VERSION-1_ARCH.deb: a Release build of the two
# programs alone with Debian's flags (-O2 and hardening; Release's own -O3 is left out).
PACKAGE_BUILD ?= build-package
package: deps
	export DEB_BUILD_MAINT_OPTIONS=hardening=+all; \
	cmake -S . -B $(PACKAGE_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release \
	  -DOSMERA_BUILD_TESTS=OFF -DOSMERA_BUILD_BENCH=OFF -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG \
	  -DCMAKE_CXX_FLAGS="$$(dpkg-buildflags --get CPPFLAGS) $$(dpkg-buildflags --get CXXFLAGS)" \
	  -DCMAKE_EXE_LINKER_FLAGS="$$(dpkg-buildflags --get LDFLAGS)"
	cmake --build $(PACKAGE_BUILD) -j $(JOBS)
	cd $(PACKAGE_BUILD) && cpack -G DEB

# The packaging checked on the plain build (no second build): scripts/check-package.sh
# packs it, runs lintian and the desktop and AppStream validators, installs the package into
# a throw-away root, runs both programs from there and removes it again.
test-package: build
	scripts/check-package.sh $(BUILD)

bench: build
	bench/compare.sh

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) build-tsan $(FUZZ_BUILD) $(PACKAGE_BUILD)
