# Entry points of the project. Every target first installs the Debian packages it needs (only the
# missing ones) and configures its own build directory, so each works on a fresh machine.
#
#   make build   normal build (build/)
#   make test    all tests in the normal build, the ABI check and the packages' install test,
#                then all tests again under AddressSanitizer and UndefinedBehaviorSanitizer
#                (build-asan/), then the registry stress test under ThreadSanitizer (test-tsan);
#                the web console's browser test runs between them
#   make test-tsan  the registry's thread tests alone under ThreadSanitizer (build-tsan/)
#   make test-thread-safety  the plug-in built with clang's thread-safety analysis as errors
#                (build-clang/)
#   make test-browser  the web console in headless Chromium against build/quilby-host
#   make test-abi  libquilby.so's exported ABI against abi/libquilby.abi (abidiff's report on a change)
#   make abi-baseline  write abi/libquilby.abi anew from build/, for an intended change of the ABI
#   make package  the Debian packages (CPack) into build/packages/
#   make test-package  the packages unpacked into a temporary root and the installed host run
#   make bench   the benchmarks, optimised build (build-bench/): JSON, requests, instruction counts
#   make bench-instructions  the plug-in's own instructions per request, under callgrind
#   make fuzz    the libFuzzer targets for FUZZ_SECONDS each (clang, build-fuzz/)
#   make coverage  line and branch coverage of src/ by all tests (gcc --coverage, build-coverage/)
#   make mutate  a fixed, seeded sample of small faults put into src/, and which of them the tests
#                catch (build-mutate/; MUTATE_FLAGS="--count 40 ..." passes flags to the script)
#   make demo    the development host on the simulated device world; prints the console's URL
#                (DEMO_FLAGS="--port 9000 ..." passes flags to quilby-host)

JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
DEMO_FLAGS ?=
MUTATE_FLAGS ?=
# Without cmake's status lines (compiler checks, packages found); warnings and errors still show.
CONFIGURE = cmake -S . -G Ninja -Wno-dev --log-level=NOTICE

# The test stages build with Ninja's --quiet: no progress line per file, but every warning, error
# and failed command as usual.

# Sanitizer runs halt on the first report.
export ASAN_OPTIONS ?= halt_on_error=1:abort_on_error=1:detect_leaks=1
export UBSAN_OPTIONS ?= halt_on_error=1:print_stacktrace=1

.PHONY: build test test-normal test-asan test-tsan test-thread-safety test-browser test-abi \
	abi-baseline package test-package bench bench-build bench-instructions fuzz demo coverage \
	mutate clean

build:
	@scripts/install-deps build
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS)

# The ThreadSanitizer run comes last, after both other runs have passed.
test: test-normal test-abi test-package test-asan
	$(MAKE) test-thread-safety
	$(MAKE) test-browser
	$(MAKE) test-tsan

test-normal:
	@scripts/install-deps test
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS) -- --quiet
	scripts/run-tests build $(JOBS)

test-asan:
	@scripts/install-deps test
	$(CONFIGURE) -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILBY_SANITIZER=address-undefined
	cmake --build build-asan -j $(JOBS) -- --quiet
	scripts/run-tests build-asan $(JOBS)

# The 45 exported functions are the contract with host applications: any change of their ABI
# fails here with abidiff's report until the baseline is updated on purpose (make abi-baseline).
test-abi:
	@scripts/install-deps test abi
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS) --target quilby -- --quiet
	scripts/check-abi build

abi-baseline:
	@scripts/install-deps build abi
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS) --target quilby
	scripts/check-abi build --update

# One Debian package per install component (cmake/QuilbyPackaging.cmake), from build/.
package:
	@scripts/install-deps build package
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS) -- --quiet
	rm -rf build/packages
	cd build && cpack -G DEB

test-package: package
	tests/install/package_test.sh build

# Only the stress test and what it loads (the plug-in and the simulated libraries, its
# dependencies) are built with ThreadSanitizer; the first report fails the run. As under ctest, the
# plug-in's request log goes to build-tsan/test-logs/, emptied first.
test-tsan:
	@scripts/install-deps test
	$(CONFIGURE) -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILBY_SANITIZER=thread
	cmake --build build-tsan -j $(JOBS) --target registry_stress_tests -- --quiet
	rm -rf build-tsan/test-logs && mkdir build-tsan/test-logs
	QUILBY_LOG=$(CURDIR)/build-tsan/test-logs/registry_stress_tests.log TSAN_OPTIONS=halt_on_error=1 \
	  build-tsan/tests/device/registry_stress_tests

# The locking discipline of the plug-in's shared structures, proven by clang at compile time.
test-thread-safety:
	@scripts/install-deps test
	$(CONFIGURE) -B build-clang -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DQUILBY_THREAD_SAFETY_ANALYSIS=ON -DQUILBY_BUILD_TESTS=OFF
	cmake --build build-clang -j $(JOBS) --target quilby -- --quiet

# The console in Chromium: Playwright (tests/browser/package-lock.json) drives Debian's chromium
# against build/quilby-host on a free loopback port; the screenshots go to build/browser/. One line
# a test (node's spec reporter), a failure's details at the end; npm speaks only of errors.
test-browser:
	@scripts/install-deps test browser
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS) --target quilby-host -- --quiet
	cd tests/browser && npm ci --no-audit --no-fund --loglevel=error
	cd tests/browser && QUILBY_HOST=$(CURDIR)/build/quilby-host \
	  QUILBY_SCREENSHOTS=$(CURDIR)/build/browser node --test --test-reporter=spec console.test.mjs

# The JSON library against others, then requests through the plug-in against the same device calls
# made directly, then the plug-in's own instructions per request (deterministic, from callgrind).
bench: bench-build
	build-bench/bench/json_bench
	build-bench/bench/request_bench
	scripts/bench-instructions build-bench

bench-instructions: bench-build
	scripts/bench-instructions build-bench

bench-build:
	@scripts/install-deps bench
	$(CONFIGURE) -B build-bench -DCMAKE_BUILD_TYPE=Release -DQUILBY_BUILD_BENCH=ON -DQUILBY_BUILD_TESTS=OFF
	cmake --build build-bench -j $(JOBS)

fuzz:
	@scripts/install-deps fuzz
	$(CONFIGURE) -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DQUILBY_BUILD_FUZZ=ON -DQUILBY_BUILD_TESTS=OFF \
	  -DQUILBY_SANITIZER=fuzzer
	cmake --build build-fuzz -j $(JOBS) --target json_fuzz bridge_fuzz
	mkdir -p build-fuzz/corpus/json build-fuzz/corpus/bridge
	build-fuzz/fuzz/json_fuzz -max_total_time=$(FUZZ_SECONDS) -dict=fuzz/json.dict \
	  build-fuzz/corpus/json fuzz/corpus/json
	build-fuzz/fuzz/bridge_fuzz -max_total_time=$(FUZZ_SECONDS) -dict=fuzz/json.dict \
	  build-fuzz/corpus/bridge fuzz/corpus/bridge

# What the tests reach and what they catch; see docs/testing.md.
coverage:
	@scripts/install-deps coverage
	JOBS=$(JOBS) scripts/coverage build-coverage

mutate:
	@scripts/install-deps mutate
	scripts/mutate --jobs $(JOBS) $(MUTATE_FLAGS)

# Builds only the host and what it loads (the plug-in, the simulated libraries), then serves the
# console until Ctrl-C.
demo:
	@scripts/install-deps demo
	$(CONFIGURE) -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS) --target quilby-host
	build/quilby-host $(DEMO_FLAGS)

clean:
	rm -rf build build-asan build-tsan build-clang build-bench build-fuzz build-coverage build-mutate
