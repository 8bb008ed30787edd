# The two set-up commands of a fresh Debian machine:
#   make demo   install what is missing, build the library and the tool, run `vonautil demo`
#               in a sandbox root
#   make test   install what is missing, build everything, run the whole test suite
# and, for CI and developers:
#   make sanitize   the suite once more, built with AddressSanitizer and UndefinedBehaviorSanitizer
#   make bench      build and run the benchmarks (results are ratios to a peer in the same run) and
#                   the whole-process comparisons; make bench-report puts them into docs/PERFORMANCE.md
#   make test-armhf cross-build for 32-bit ARM (installing the cross tools as root) and run the
#                   suite under qemu-arm
#   make fuzz       build the fuzz targets with clang, libFuzzer, ASan and UBSan and run each from its
#                   committed seed corpus (fuzz/corpus/NAME) for FUZZ_SECONDS (default 60)
#   make tsan       the suite once more, built with ThreadSanitizer

PACKAGES := cmake g++ make pkg-config libgtest-dev libgmock-dev libbenchmark-dev libtinyxml-dev libssl-dev parted fdisk time
CLANG_PACKAGES := clang libclang-rt-dev
FUZZ_SECONDS ?= 60
# FUZZ_RUNS=N stops a target after N inputs; FUZZ_TARGETS="a_fuzz b_fuzz" runs only those.
FUZZ_RUNS ?=
FUZZ_TARGETS ?=
BUILD    ?= build
JOBS     ?= $(shell nproc)
CMAKE_FLAGS ?=
# The generated makefiles run make recursively; without this each level announces its folder.
CMAKE_BUILD := MAKEFLAGS=--no-print-directory cmake --build

.PHONY: all demo test sanitize bench bench-report test-armhf deps clang-deps fuzz tsan configure build clean

all: build

deps clang-deps:
	@missing=""; \
	for p in $(if $(filter clang-deps,$@),$(CLANG_PACKAGES),$(PACKAGES)); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'install ok installed' || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "Installing:$$missing"; \
	    apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y $$missing; \
	  else \
	    echo "Missing Debian packages:$$missing (run make as root to install them)"; exit 1; \
	  fi; \
	fi

configure: deps
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS)

build: configure
	$(CMAKE_BUILD) $(BUILD) -j $(JOBS)

# The demo needs the library and the tool only; their build log is shown if it fails.
demo: deps
	@echo "Building the library and the tool in $(BUILD)/ (log: $(BUILD)/demo-build.log)"
	@mkdir -p $(BUILD)
	@{ cmake -S . -B $(BUILD) $(CMAKE_FLAGS) && \
	   $(CMAKE_BUILD) $(BUILD) -j $(JOBS) --target vonautil_tool; \
	 } > $(BUILD)/demo-build.log 2>&1 || { cat $(BUILD)/demo-build.log; exit 1; }
	$(BUILD)/vonautil demo

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

sanitize:
	$(MAKE) test BUILD=build-sanitize CMAKE_FLAGS="-DVONAUTIL_SANITIZE=ON -DVONAUTIL_BUILD_BENCH=OFF -DVONAUTIL_BUILD_FUZZ=OFF"

# Every benchmark program with repetitions in random order, one JSON result per program in
# $(BUILD)/bench-results/, then the tool beside its peers as whole processes. The slow file jobs
# take fewer repetitions. `make bench-report` writes the tables into docs/PERFORMANCE.md.
BENCH_REPETITIONS ?= 5
BENCH_RESULTS = $(BUILD)/bench-results
bench:
	$(MAKE) build CMAKE_FLAGS="-DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)"
	@rm -rf $(BENCH_RESULTS) && mkdir -p $(BENCH_RESULTS)
	@for b in $(BUILD)/bench/*_bench; do \
	  name=$$(basename $$b); echo "== $$name"; \
	  reps=$(BENCH_REPETITIONS); case $$name in advanced_file_utils_bench) reps=3;; esac; \
	  $$b --benchmark_repetitions=$$reps --benchmark_enable_random_interleaving=true \
	    --benchmark_min_time=0.2 --benchmark_counters_tabular=true --benchmark_display_aggregates_only=true \
	    --benchmark_out=$(BENCH_RESULTS)/$$name.json --benchmark_out_format=json || exit 1; \
	done
	python3 bench/whole_process.py --tool $(BUILD)/vonautil --runs $(BENCH_REPETITIONS) \
	  --out $(BENCH_RESULTS)/whole_process.json

bench-report:
	python3 bench/report.py --results $(BENCH_RESULTS) --write docs/PERFORMANCE.md

ARMHF_BUILD ?= build-armhf
test-armhf:
	@cmake/install_armhf_packages.sh
	cmake -S . -B $(ARMHF_BUILD) -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/arm-linux-gnueabihf.cmake \
	  -DVONAUTIL_BUILD_BENCH=OFF -DVONAUTIL_BUILD_FUZZ=OFF $(CMAKE_FLAGS)
	$(CMAKE_BUILD) $(ARMHF_BUILD) -j $(JOBS)
	ctest --test-dir $(ARMHF_BUILD) --output-on-failure -j $(JOBS)

# The library, the targets and the sanitizers' runtime checks built with clang; each target
# runs on a scratch copy of its seeds so that the committed corpus stays small.
fuzz: deps clang-deps
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -DVONAUTIL_SANITIZE=ON -DVONAUTIL_FUZZ_COVERAGE=ON \
	  -DVONAUTIL_BUILD_TESTS=OFF -DVONAUTIL_BUILD_BENCH=OFF -DVONAUTIL_BUILD_FUZZ=ON
	cmake --build build-fuzz -j $(JOBS)
	@set -e; mkdir -p build-fuzz/tmp; for t in $(if $(FUZZ_TARGETS),$(addprefix build-fuzz/fuzz/,$(FUZZ_TARGETS)),build-fuzz/fuzz/*_fuzz); do \
	  name=$$(basename $$t); mkdir -p build-fuzz/corpus/$$name fuzz/corpus/$$name; \
	  echo "== $$name ($(FUZZ_SECONDS) s$(if $(FUZZ_RUNS), or $(FUZZ_RUNS) runs))"; \
	  if ! TMPDIR=$(CURDIR)/build-fuzz/tmp ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	      $$t -max_total_time=$(FUZZ_SECONDS) $(if $(FUZZ_RUNS),-runs=$(FUZZ_RUNS)) -print_final_stats=1 \
	      -artifact_prefix=build-fuzz/$$name- build-fuzz/corpus/$$name fuzz/corpus/$$name > build-fuzz/$$name.log 2>&1; then \
	    tail -n 60 build-fuzz/$$name.log; exit 1; \
	  fi; \
	  grep -E '^(stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss_mb|#[0-9]+ +DONE)' build-fuzz/$$name.log; \
	done

tsan:
	$(MAKE) test BUILD=build-tsan CMAKE_FLAGS="-DVONAUTIL_TSAN=ON -DVONAUTIL_BUILD_BENCH=OFF -DVONAUTIL_BUILD_FUZZ=OFF"

clean:
	rm -rf build build-sanitize build-fuzz build-tsan build-armhf
