# The two set-up commands: `make demo` and `make test`. Each installs what is missing first.
BUILD ?= build
SAN_BUILD ?= build-san
JOBS ?= $(shell nproc)
DEB_PACKAGES := cmake g++ make pkg-config libsndfile1-dev libgtest-dev libgmock-dev libbenchmark-dev sox
# The peers the benchmarks compare against, beyond sox.
BENCH_PACKAGES := soundstretch
CMAKE_FLAGS ?=

.PHONY: all deps build qxfx install demo test test-san bench clean

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

PREFIX ?= /usr/local
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

demo: build
	./tools/qxfx/demo.sh $(BUILD)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The same suite under AddressSanitizer and UndefinedBehaviorSanitizer, as CI runs it.
test-san:
	$(MAKE) test BUILD=$(SAN_BUILD) CMAKE_FLAGS="-DQX_SANITIZE=ON -DQX_BENCH=OFF"

bench:
	$(MAKE) build EXTRA_PACKAGES="$(BENCH_PACKAGES)"
	./bench/run_all.sh $(BUILD)

clean:
	rm -rf $(BUILD) $(SAN_BUILD) demo-out
