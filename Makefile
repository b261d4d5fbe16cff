# Quernline: `make run` starts the window, `make test` builds and runs every test.
# Both install what is missing first (Debian packages, with apt).

BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 60
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_GEN  := -G Ninja

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
PACKAGES := cmake ninja-build g++ make pkg-config qt6-base-dev libgl-dev \
            libjpeg62-turbo-dev libpng-dev libgif-dev libtiff-dev \
            libgtest-dev libgmock-dev libbenchmark-dev \
            python3 python3-ezdxf python3-pil xvfb xauth fonts-dejavu-extra desktop-file-utils \
            libdxflib-dev \
            chromium
# What `make package` needs beyond the build: dpkg-shlibdeps reads the programs' libraries.
PACKAGE_TOOLS := dpkg-dev file

# `make install PREFIX=/usr DESTDIR=/tmp/stage`
PREFIX  ?= /usr/local
DESTDIR ?=

# Only `make fuzz` needs these.
FUZZ_PACKAGES := clang libclang-rt-14-dev
FUZZ_TARGETS  := picture values chains args writer

.PHONY: all deps fuzz-deps configure build test test-asan test-tsan run bench demo install package fuzz clean

all: build

# Installs those of the Debian packages $(1) that are missing.
apt_need = missing=""; for p in $(1); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -qq && \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $$missing; \
	fi

deps:
	@$(call apt_need,$(PACKAGES))

fuzz-deps:
	@$(call apt_need,$(FUZZ_PACKAGES))

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(ASAN_BUILD)/build.ninja: | deps
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DQUERNLINE_SANITIZE=ON

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

test: build test-asan test-tsan
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest -j $(JOBS) --output-on-failure

# Chains of stages on several threads at once, under ThreadSanitizer: they
# must share no mutable state.
$(TSAN_BUILD)/build.ninja: | deps
	cmake -S . -B $(TSAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUERNLINE_TSAN=ON \
	  -DQUERNLINE_GUI=OFF -DQUERNLINE_BENCH=OFF

test-tsan: deps $(TSAN_BUILD)/build.ninja
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target pipeline_test batch_test
	TSAN_OPTIONS=halt_on_error=1 ./$(TSAN_BUILD)/tests/pipeline_test --gtest_filter='*Thread*'
	TSAN_OPTIONS=halt_on_error=1 ./$(TSAN_BUILD)/tests/batch_test --gtest_filter='*Thread*'

# The same suite once more under AddressSanitizer and UndefinedBehaviorSanitizer.
test-asan: deps $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest -j $(JOBS) --output-on-failure

run: build
	@if [ -z "$$DISPLAY" ] && [ -z "$$WAYLAND_DISPLAY" ]; then \
	  echo "No display found: run 'make run' from a desktop session (or under xvfb-run)."; exit 1; fi
	./$(BUILD)/quernline

# The headless driver on the built-in picture: demo.dxf and the preview demo.png.
demo: build
	./$(BUILD)/quernline-batch --preview demo.png demo.dxf

# What only `make bench-peers` needs: the peers it is measured against, put in
# by the deps recipe with this list in place of the build's.
PEER_PACKAGES := potrace libjpeg-turbo-progs python3-numpy python3-pil python3-skimage time findutils
QUERN_BATCH ?= $(BUILD)/quernline-batch
.PHONY: bench-peers

# quernline-batch beside potrace and scikit-image's skeletonize on the same
# drawings, and many pictures at once. QUERN_BATCH=... measures another build.
bench-peers: build
	@$(MAKE) --no-print-directory deps PACKAGES="$(PEER_PACKAGES)"
	QUERN_BATCH=$(QUERN_BATCH) QUERN_MAKE_ASSETS=$(BUILD)/tools/make_assets /usr/bin/python3 bench/bench_peers.py

bench: build
	@for b in $(BUILD)/bench/bench_*; do [ -x "$$b" ] && { echo "== $$b"; "$$b" --benchmark_min_time=0.2; }; done; true

install: build
	DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

# quernline_VERSION_ARCH.deb in this folder: `apt install ./quernline_*.deb`.
package: build
	@$(call apt_need,$(PACKAGE_TOOLS))
	cd $(BUILD) && cpack -G DEB
	cp $(BUILD)/quernline_*.deb .

# Each libFuzzer target for FUZZ_SECONDS, from the seeds in fuzz/corpus/; new
# inputs go to $(FUZZ_BUILD)/corpus/, crashes to $(FUZZ_BUILD)/crashes/.
$(FUZZ_BUILD)/build.ninja: | deps fuzz-deps
	cmake -S . -B $(FUZZ_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DQUERNLINE_FUZZ=ON

fuzz: deps fuzz-deps $(FUZZ_BUILD)/build.ninja
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	@status=0; for t in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ_BUILD)/corpus/$$t $(FUZZ_BUILD)/crashes/$$t; \
	  echo "== fuzz_$$t for $(FUZZ_SECONDS) s (log: $(FUZZ_BUILD)/fuzz_$$t.log)"; \
	  QT_QPA_PLATFORM=offscreen ./$(FUZZ_BUILD)/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
	    -artifact_prefix=$(FUZZ_BUILD)/crashes/$$t/ $(FUZZ_BUILD)/corpus/$$t fuzz/corpus/$$t \
	    > $(FUZZ_BUILD)/fuzz_$$t.log 2>&1 || status=1; \
	  grep -E 'stat::number_of_executed_units|stat::average_exec_per_sec|ERROR|SUMMARY|Test unit written' \
	    $(FUZZ_BUILD)/fuzz_$$t.log; \
	done; exit $$status

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
