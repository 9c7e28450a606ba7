# Every target installs what is missing first (tools/deps.sh), then works
# through the CMake presets.
.PHONY: all deps build run test asan fuzz bench format tidy clean

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

asan: deps
	@cmake --preset asan >/dev/null
	@cmake --build --preset asan
	@ctest --preset asan

# Every libFuzzer target on its seeds for FUZZ_SECONDS each (default 30).
fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz
	@tools/fuzz.sh build/fuzz

bench: build
	@tools/run-bench.sh build/default

format:
	@find src tests bench \( -name '*.h' -o -name '*.cpp' \) -print0 | xargs -0 clang-format -i

tidy: build
	@find src -name '*.cpp' ! -path 'src/view/*' ! -path 'src/app/*' -print0 | \
	  xargs -0 clang-tidy -p build/default --quiet

clean:
	@rm -rf build
