# Every target installs what is missing first (tools/deps.sh), then works
# through the CMake presets.
.PHONY: all deps build run test deb deb-test asan fuzz tsan memcheck bench screenshots format tidy clean

all: build

deps:
	@tools/deps.sh

build: deps
	@cmake --preset default >/dev/null
	@cmake --build --preset default

run: build
	@build/default/src/app/vellix-control $(ARGS)

test: build
	@ctest --preset default

# The Debian package, made by CPack from the default build:
# build/default/vellix-control_VERSION_ARCH.deb.
deb: build
	@cd build/default && cpack -G DEB

# Makes the package, installs it with apt-get, runs the installed program and
# removes it (as root).
deb-test: build
	@tools/deb-test.sh build/default

asan: deps
	@cmake --preset asan >/dev/null
	@cmake --build --preset asan
	@ctest --preset asan

# Every libFuzzer target on its seeds for FUZZ_SECONDS each (default 30).
fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz
	@tools/fuzz.sh build/fuzz

# The suites whose code runs threads (the engine's write-behind and
# processing worker, the backup copier), under ThreadSanitizer.
TSAN_SUITES = vellix_tests_engine_server vellix_tests_backupcopy vellix_tests_shell \
  vellix_tests_backup

tsan: deps
	@cmake --preset tsan >/dev/null
	@cmake --build --preset tsan --target $(TSAN_SUITES)
	@ctest --preset tsan

# The program's scripted first start under valgrind (slow: not part of test).
memcheck: deps
	@cmake --preset default >/dev/null
	@cmake --build --preset default --target vellix-control
	@tools/memcheck.sh build/default

bench: build
	@tools/run-bench.sh build/default

# The pictures of docs/screenshots, made again by the scripted first start.
screenshots: deps
	@cmake --preset default >/dev/null
	@cmake --build --preset default --target vellix-control
	@QT_QPA_PLATFORM=offscreen build/default/src/app/vellix-control --screenshot docs/screenshots

format:
	@find src tests bench \( -name '*.h' -o -name '*.cpp' \) -print0 | xargs -0 clang-format -i

tidy: build
	@find src -name '*.cpp' ! -path 'src/view/*' ! -path 'src/app/*' -print0 | \
	  xargs -0 clang-tidy -p build/default --quiet

clean:
	@rm -rf build
