# The two set-up commands of a fresh Debian machine:
#   make demo   install what is missing, build everything, run `vonautil demo` in a sandbox root
#   make test   install what is missing, build everything, run the whole test suite
# and, for CI and developers:
#   make sanitize   the suite once more, built with AddressSanitizer and UndefinedBehaviorSanitizer
#   make bench      build and run the benchmarks (results are ratios to a peer in the same run)

PACKAGES := cmake g++ make pkg-config libgtest-dev libgmock-dev libbenchmark-dev libtinyxml-dev libssl-dev
BUILD    ?= build
JOBS     ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all demo test sanitize bench deps configure build clean

all: build

deps:
	@missing=""; \
	for p in $(PACKAGES); do \
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
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	$(BUILD)/vonautil demo

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

sanitize:
	$(MAKE) test BUILD=build-sanitize CMAKE_FLAGS="-DVONAUTIL_SANITIZE=ON -DVONAUTIL_BUILD_BENCH=OFF -DVONAUTIL_BUILD_FUZZ=OFF"

bench:
	$(MAKE) build CMAKE_FLAGS="-DCMAKE_BUILD_TYPE=Release"
	@for b in $(BUILD)/bench/*_bench; do echo "== $$b"; $$b --benchmark_counters_tabular=true || exit 1; done

clean:
	rm -rf build build-sanitize
