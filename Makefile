# Entry points of the project. Every target first installs the Debian packages it needs (only the
# missing ones) and configures its own build directory, so each works on a fresh machine.
#
#   make build   normal build (build/)
#   make test    all tests in the normal build, then again under AddressSanitizer and
#                UndefinedBehaviorSanitizer (build-asan/)
#   make bench   the benchmarks, optimised build (build-bench/)
#   make fuzz    the libFuzzer targets for FUZZ_SECONDS each (clang, build-fuzz/)
#   make demo    the development host on the simulated device world (not yet available)

JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
CONFIGURE = cmake -S . -G Ninja -Wno-dev

# Sanitizer runs halt on the first report.
export ASAN_OPTIONS ?= halt_on_error=1:abort_on_error=1:detect_leaks=1
export UBSAN_OPTIONS ?= halt_on_error=1:print_stacktrace=1

.PHONY: build test test-normal test-asan bench fuzz demo clean

build:
	@scripts/install-deps build
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS)

test: test-normal test-asan

test-normal:
	@scripts/install-deps test
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS)
	ctest --test-dir build --output-on-failure -j $(JOBS)

test-asan:
	@scripts/install-deps test
	$(CONFIGURE) -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILBY_SANITIZER=address-undefined
	cmake --build build-asan -j $(JOBS)
	ctest --test-dir build-asan --output-on-failure -j $(JOBS)

bench:
	@scripts/install-deps bench
	$(CONFIGURE) -B build-bench -DCMAKE_BUILD_TYPE=Release -DQUILBY_BUILD_BENCH=ON -DQUILBY_BUILD_TESTS=OFF
	cmake --build build-bench -j $(JOBS)
	build-bench/bench/json_bench

fuzz:
	@scripts/install-deps fuzz
	$(CONFIGURE) -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DQUILBY_BUILD_FUZZ=ON -DQUILBY_BUILD_TESTS=OFF \
	  -DQUILBY_SANITIZER=fuzzer
	cmake --build build-fuzz -j $(JOBS)
	mkdir -p build-fuzz/corpus/json
	build-fuzz/fuzz/json_fuzz -max_total_time=$(FUZZ_SECONDS) -dict=fuzz/json.dict \
	  build-fuzz/corpus/json fuzz/corpus/json

demo:
	@echo "make demo starts the development host on the simulated device world;" \
	      "it is not available yet."
	@exit 1

clean:
	rm -rf build build-asan build-bench build-fuzz
