# Two commands do everything on a fresh Debian machine:
#   make run    install what is missing, build, start the program
#   make test   install what is missing, build, run every test (plain and sanitized)
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

.PHONY: run test deps build test-plain test-asan test-tsan bench format clean

deps:
	@scripts/install-deps.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

run: build
	$(BUILD)/cli/osmera-cli --help

test: test-plain test-asan

test-plain: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The engine and command-line program under AddressSanitizer and UBSan.
test-asan: deps
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug \
	  -DOSMERA_SANITIZE=address,undefined -DOSMERA_WITH_QT=OFF -DOSMERA_BUILD_BENCH=OFF
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

# The threaded parts under ThreadSanitizer.
test-tsan: deps
	cmake -S . -B build-tsan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug \
	  -DOSMERA_SANITIZE=thread -DOSMERA_WITH_QT=OFF -DOSMERA_BUILD_BENCH=OFF
	cmake --build build-tsan -j $(JOBS)
	ctest --test-dir build-tsan --output-on-failure -j $(JOBS)

bench: build
	bench/compare.sh

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) build-tsan
