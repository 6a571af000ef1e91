# Top-level commands. Everything the build needs is installed by `make deps`.
BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
BENCH_BUILD ?= build-bench
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 300
FUZZ_TARGETS := CDefTreeFuzz CZipBlockFuzz CLz4BlockFuzz CParamStorageFuzz CParamInfoFuzz
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

# Debian packages the project builds with; `make deps` installs only the missing ones.
PACKAGES := g++ cmake ninja-build ccache pkg-config libgtest-dev libbenchmark-dev \
            zlib1g-dev liblz4-dev libpugixml-dev libfftw3-dev libsndfile1-dev

.PHONY: deps deps-fuzz configure build test asan tsan bench fuzz demo install clean

deps:
	@missing=""; \
	for p in $(PACKAGES); do \
	  dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  SUDO=""; [ "$$(id -u)" -ne 0 ] && SUDO=sudo; \
	  $$SUDO apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq --no-install-recommends $$missing; \
	else \
	  echo "All build packages are installed."; \
	fi

configure: deps
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

asan: deps
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DORL_SANITIZE=ON
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

tsan: deps
	cmake -S . -B $(TSAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORL_TSAN=ON
	cmake --build $(TSAN_BUILD) -j $(JOBS)
	cd $(TSAN_BUILD) && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j $(JOBS)

bench: deps
	cmake -S . -B $(BENCH_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DORL_BUILD_TESTS=OFF -DORL_BUILD_BENCH=ON
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	$(BENCH_BUILD)/bench/orl_bench $(BENCH_ARGS)

# libFuzzer runs of FUZZ_SECONDS each, on a working copy of the committed corpus.
deps-fuzz: deps
	@$(MAKE) --no-print-directory deps PACKAGES="clang libclang-rt-14-dev"

fuzz: deps-fuzz
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORL_FUZZ=ON -DORL_BUILD_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	@for t in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ_BUILD)/corpus/$$t && cp -n fuzz/corpus/$$t/* $(FUZZ_BUILD)/corpus/$$t/ 2>/dev/null; \
	  echo "== $$t for $(FUZZ_SECONDS) s"; \
	  $(FUZZ_BUILD)/fuzz/$$t -max_total_time=$(FUZZ_SECONDS) -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix=$(FUZZ_BUILD)/ \
	    $(FUZZ_BUILD)/corpus/$$t || exit 1; \
	done

# The plug-in through its VST 2 entry point, as a host loads it: the built-in demo signal, or
# IN=file (WAV, FLAC, AIFF), with the factory program PRESET=name, to $(BUILD)/demo-out.wav.
IN     ?=
PRESET ?=
demo: configure
	cmake --build $(BUILD) -j $(JOBS) --target Tamberlo3 tamberlo-render
	$(BUILD)/Tools/render/tamberlo-render $(if $(PRESET),--program "$(PRESET)") $(if $(IN),"$(IN)") $(BUILD)/demo-out.wav

# Linux hosts look for VST 2 plug-ins in ~/.vst among other folders.
install: configure
	cmake --build $(BUILD) -j $(JOBS) --target Tamberlo3
	mkdir -p $(HOME)/.vst
	cp $(BUILD)/Tamberlo3.so $(HOME)/.vst/

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD) $(BENCH_BUILD) $(FUZZ_BUILD)
