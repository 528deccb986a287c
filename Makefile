# The two set-up commands: `make demo` and `make test`. Each installs what is missing first.
BUILD ?= build
SAN_BUILD ?= build-san
JOBS ?= $(shell nproc)
DEB_PACKAGES := cmake g++ make pkg-config libsndfile1-dev libgtest-dev libgmock-dev libbenchmark-dev sox \
  libcairo2-dev libpango1.0-dev fonts-dejavu-core libx11-dev xvfb xdotool
# The peers the benchmarks compare against, beyond sox.
BENCH_PACKAGES := soundstretch
CMAKE_FLAGS ?=
# Where `make install` puts the module, its headers, pkg-config file and tools.
PREFIX ?= /usr/local

.PHONY: all deps build demo test test-san bench install clean

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

bench:
	$(MAKE) build EXTRA_PACKAGES="$(BENCH_PACKAGES)"
	./bench/run_all.sh $(BUILD)

clean:
	rm -rf $(BUILD) $(SAN_BUILD) demo-out
