# The two entry points of the README, `make demo` and `make test`, each install what is
# missing, configure and build by themselves.

BUILD      ?= build
ASAN_BUILD ?= build-asan
BENCH_BUILD ?= build-bench
JOBS       ?= $(shell nproc)
# The benchmarks are compiled with every build (so that they never fall behind the code)
# but only run by `make bench`.
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKT_WERROR=ON -DKT_BUILD_BENCH=ON

FORMATTED_SOURCES = $(shell git ls-files '*.h' '*.cpp' 2>/dev/null)

.PHONY: demo test deps build test-plain test-sanitized bench format format-check clean

demo: deps build
	$(BUILD)/tools/kt-demo

test: deps format-check test-plain test-sanitized

deps:
	@./tools/install-dependencies.sh

build:
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j $(JOBS)

test-plain: build
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure

test-sanitized:
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DKT_WERROR=ON -DKT_SANITIZE=ON
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD) -j $(JOBS) --output-on-failure

bench: deps
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DKT_BUILD_TESTS=OFF -DKT_BUILD_BENCH=ON
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	$(BENCH_BUILD)/bench/kt-bench $(BENCH_ARGS)

format:
	clang-format -i $(FORMATTED_SOURCES)

format-check:
	clang-format --dry-run --Werror $(FORMATTED_SOURCES)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(BENCH_BUILD)
