# The two entry points of the README, `make demo` and `make test`, each install what is
# missing, configure and build by themselves.

BUILD      ?= build
ASAN_BUILD ?= build-asan
BENCH_BUILD ?= build-bench
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 45
# The binary matrix reader is small: a short run after the XML one reaches its coverage.
MATRIX_FUZZ_SECONDS ?= 15
JOBS       ?= $(shell nproc)
# The benchmarks are compiled with every build (so that they never fall behind the code)
# but only run by `make bench`.
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKT_WERROR=ON -DKT_BUILD_BENCH=ON

FORMATTED_SOURCES = $(shell git ls-files '*.h' '*.cpp' 2>/dev/null)

.PHONY: demo test deps configure build test-plain test-sanitized fuzz bench format format-check clean

# The toolkit demo (link frames, the flange Jacobian and the joint rates for a commanded flange
# velocity), then the host demo, which drives the arm through the staged library it opens.
demo: deps configure
	cmake --build $(BUILD) -j $(JOBS) --target kt kt-demo kt-host
	$(BUILD)/tools/kt-demo
	mkdir -p $(BUILD)/demo
	$(BUILD)/tools/kt-host $(BUILD)/stage/lib/libkt.so data $(BUILD)/demo

test: deps format-check test-plain test-sanitized fuzz

deps:
	@./tools/install-dependencies.sh

configure:
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS)

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test-plain: build
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure

test-sanitized:
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DKT_WERROR=ON -DKT_SANITIZE=ON
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD) -j $(JOBS) --output-on-failure

# The XML reader under libFuzzer with ASan+UBSan for a bounded time, starting from the seed
# corpus; new inputs it finds go to a scratch corpus inside the build directory.
fuzz:
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DKT_FUZZ=ON -DKT_BUILD_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target kt-xml-fuzzer
	mkdir -p $(FUZZ_BUILD)/corpus
	$(FUZZ_BUILD)/tests/fuzz/kt-xml-fuzzer -max_total_time=$(FUZZ_SECONDS) -max_len=262144 -timeout=10 \
	  -rss_limit_mb=2048 -print_final_stats=1 $(FUZZ_BUILD)/corpus tests/fuzz/corpus
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target kt-matrix-fuzzer
	mkdir -p $(FUZZ_BUILD)/matrix-corpus
	$(FUZZ_BUILD)/tests/fuzz/kt-matrix-fuzzer -max_total_time=$(MATRIX_FUZZ_SECONDS) -max_len=4096 -timeout=10 \
	  -rss_limit_mb=2048 -print_final_stats=1 $(FUZZ_BUILD)/matrix-corpus tests/fuzz/matrix-corpus

bench: deps
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DKT_BUILD_TESTS=OFF -DKT_BUILD_BENCH=ON
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	$(BENCH_BUILD)/bench/kt-bench $(BENCH_ARGS)

format:
	clang-format -i $(FORMATTED_SOURCES)

format-check:
	clang-format --dry-run --Werror $(FORMATTED_SOURCES)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(BENCH_BUILD) $(FUZZ_BUILD)
