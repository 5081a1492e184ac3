# Two commands do everything on a fresh Debian machine:
#   make run    install what is missing, build, start the program
#   make test   install what is missing, build, run every test (plain, sanitized, fuzzed)
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

.PHONY: run test deps build test-format test-plain test-asan test-tsan test-fuzz bench format clean

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
test: test-format test-tsan test-asan test-fuzz test-plain

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

bench: build
	bench/compare.sh

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) build-tsan $(FUZZ_BUILD)
