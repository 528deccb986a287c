# The two set-up commands: `make demo` and `make test`. Each installs what is missing first.
BUILD ?= build
SAN_BUILD ?= build-san
TSAN_BUILD ?= build-tsan
HOSTS_BUILD ?= build-hosts
FUZZ_BUILD ?= build-fuzz
# Seconds each fuzz target runs in `make fuzz`.
FUZZ_SECONDS ?= 60
FUZZERS := fuzz_effect_state fuzz_text fuzz_registry_file fuzz_wav_header
# libFuzzer comes with clang and its runtime libraries.
FUZZ_PACKAGES := clang libclang-rt-dev
# What `make test-tsan` builds and runs: the streaming path against host threads.
TSAN_TESTS := streaming_race_test mediagraph_tests reverb_filter_test echos_filter_test
JOBS ?= $(shell nproc)
DEB_PACKAGES := cmake g++ make pkg-config libsndfile1-dev libgtest-dev libgmock-dev libbenchmark-dev sox \
  libcairo2-dev libpango1.0-dev fonts-dejavu-core libx11-dev xvfb xdotool \
  libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools gstreamer1.0-plugins-base \
  gstreamer1.0-plugins-good lv2-dev liblilv-dev lilv-utils sordi serdi jalv jackd2 \
  pybind11-dev python3-dev python3-numpy python3-pytest python3-dask python3-distributed
# The peers the benchmarks compare against, beyond sox.
BENCH_PACKAGES := soundstretch
CMAKE_FLAGS ?=
# Where `make install` puts the module, its headers, pkg-config file and tools.
PREFIX ?= /usr/local

.PHONY: all deps build qxfx demo test test-san test-tsan test-hosts fuzz fuzz-build fuzz-replay bench install clean

all: build

deps:
	@missing=""; for p in $(DEB_PACKAGES) $(EXTRA_PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  SUDO=""; [ "$$(id -u)" = 0 ] || SUDO=sudo; \
	  $$SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq $$missing; \
	fi

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS)

# The command-line tool and the module it loads, alone: no tests, no benchmarks.
qxfx: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS) --target qxfx qxfx_man

demo: build
	./tools/qxfx/demo.sh $(BUILD)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The same suite under AddressSanitizer and UndefinedBehaviorSanitizer, as CI runs it.
test-san:
	LSAN_OPTIONS=suppressions=$(CURDIR)/.ci/lsan.supp:print_suppressions=0 \
	  $(MAKE) test BUILD=$(SAN_BUILD) CMAKE_FLAGS="-DQX_SANITIZE=ON -DQX_BENCH=OFF"

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

# The streaming tests under ThreadSanitizer; only their targets are built.
test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=Release -DQX_TSAN=ON -DQX_BENCH=OFF $(CMAKE_FLAGS) >/dev/null
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target $(TSAN_TESTS)
	@for t in $(TSAN_TESTS); do echo "== $$t"; \
	  TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" $$(find $(TSAN_BUILD)/tests -name $$t -type f) \
	    --gtest_brief=1 || exit 1; \
	done

# The LV2 pages in a real GTK host (jalv.gtk3), which cannot start with a sanitizer runtime
# preloaded: a plain build of what that test needs, for CI, whose suite runs sanitized.
HOSTS_TARGETS := qxppack1 qxppack1_lv2 qxppack1_lv2ui qxppack1_lv2_ttl qxfx qxlv2_ui_host
test-hosts: deps
	cmake -S . -B $(HOSTS_BUILD) -DCMAKE_BUILD_TYPE=Release -DQX_BENCH=OFF $(CMAKE_FLAGS) >/dev/null
	cmake --build $(HOSTS_BUILD) -j $(JOBS) --target $(HOSTS_TARGETS)
	cd $(HOSTS_BUILD) && ctest --output-on-failure -R '^lv2_ui$$'

# The fuzz targets, built with clang; each runs FUZZ_SECONDS from its seed corpus (new finds go to
# $(FUZZ_BUILD)/corpus, the committed seeds stay as they are).
fuzz-build:
	$(MAKE) deps EXTRA_PACKAGES="$(FUZZ_PACKAGES)"
	CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=Release -DQX_FUZZ=ON -DQX_BENCH=OFF >/dev/null
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target $(FUZZERS)

fuzz: fuzz-build
	@mkdir -p $(FUZZ_BUILD)/tmp; for f in $(FUZZERS); do \
	  mkdir -p $(FUZZ_BUILD)/corpus/$$f; echo "== $$f, $(FUZZ_SECONDS) s"; \
	  if ! TMPDIR=$(FUZZ_BUILD)/tmp $(FUZZ_BUILD)/fuzz/$$f -max_total_time=$(FUZZ_SECONDS) -timeout=30 \
	      -rss_limit_mb=4096 -artifact_prefix=$(FUZZ_BUILD)/$$f- -print_final_stats=1 \
	      $(FUZZ_BUILD)/corpus/$$f fuzz/corpus/$$f >$(FUZZ_BUILD)/$$f.log 2>&1; then \
	    tail -n 80 $(FUZZ_BUILD)/$$f.log; exit 1; \
	  fi; \
	  grep -E '^stat::(number_of_executed_units|new_units_added)' $(FUZZ_BUILD)/$$f.log; \
	done

# Every committed seed once through its target: a quick check that none crashes.
fuzz-replay: fuzz-build
	@mkdir -p $(FUZZ_BUILD)/tmp; for f in $(FUZZERS); do \
	  if ! TMPDIR=$(FUZZ_BUILD)/tmp $(FUZZ_BUILD)/fuzz/$$f -runs=0 fuzz/corpus/$$f >$(FUZZ_BUILD)/$$f.log 2>&1; then \
	    tail -n 80 $(FUZZ_BUILD)/$$f.log; exit 1; \
	  fi; \
	  echo "$$f: $$(ls fuzz/corpus/$$f | wc -l) seeds replayed"; \
	done

bench:
	$(MAKE) build EXTRA_PACKAGES="$(BENCH_PACKAGES)"
	./bench/run_all.sh $(BUILD)

clean:
	rm -rf $(BUILD) $(SAN_BUILD) $(TSAN_BUILD) $(FUZZ_BUILD) demo-out
