# The two commands of the README: `make run` and `make test`. Both install what is missing
# (Debian packages, with apt-get as root), configure and build first.
BUILD       ?= build
BUILD_ASAN  ?= build-asan
JOBS        ?= $(shell nproc)
PACKAGES    := g++ cmake make pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
               libpng-dev libjpeg62-turbo-dev clang-format

.PHONY: all deps build run test test-sanitize bench clean

all: build

deps:
	@missing=""; for p in $(PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  if [ "$$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi; \
	  $$SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq --no-install-recommends $$missing; \
	fi

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j$(JOBS)

run: build
	./tools/run_samples.sh $(BUILD)

test: build
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# The same suite built with AddressSanitizer and UBSan.
test-sanitize: deps
	cmake -S . -B $(BUILD_ASAN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZT_SANITIZE=ON -DZT_BENCH=OFF
	cmake --build $(BUILD_ASAN) -j$(JOBS)
	cd $(BUILD_ASAN) && ctest --output-on-failure -j$(JOBS)

# Our benchmarks beside the peers (OpenCV, libvips, GEGL), in one run.
PEERS := python3-opencv python3-numpy python3-pil libvips-tools gegl imagemagick
bench: build
	@missing=""; for p in $(PEERS); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi; \
	  $$SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq --no-install-recommends $$missing; \
	fi
	/usr/bin/python3 bench/compare.py $(BUILD)

clean:
	rm -rf $(BUILD) $(BUILD_ASAN) out
