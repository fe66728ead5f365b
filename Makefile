# The front door. Everything a newcomer needs is `make demo` and `make check`.

PRESET  ?= release
BUILD    = build/$(PRESET)
OUT     ?= out
PREFIX  ?= /usr/local
JOBS    ?= $(shell nproc)

.PHONY: help bootstrap build all demo check asan bench install format clean

help:
	@echo 'make demo      install what is missing, build, run the tour; pictures go to $(OUT)/'
	@echo 'make check     build everything and run every test'
	@echo 'make build     build the libraries and the program tnk, nothing else'
	@echo 'make asan      run the tests under the address and undefined-behaviour sanitizers'
	@echo 'make bench     measure against peer libraries; see scripts/bootstrap.sh --peers'
	@echo 'make install   install under PREFIX (now $(PREFIX))'
	@echo 'make format    format the sources; make clean removes build/ and $(OUT)/'

bootstrap:
	@scripts/bootstrap.sh

# Configures once; afterwards the build itself notices changed CMake files.
$(BUILD)/build.ninja: CMakePresets.json | bootstrap
	@echo 'configuring $(BUILD)'
	@cmake --preset $(PRESET) --log-level=WARNING >/dev/null
	@touch $@

build: bootstrap $(BUILD)/build.ninja
	@cmake --build --preset $(PRESET) -j $(JOBS) --target tnk_avx tnk_host tnk_front tnk

all: bootstrap $(BUILD)/build.ninja
	@cmake --build --preset $(PRESET) -j $(JOBS)

demo: build
	@$(BUILD)/bin/tnk tour --data examples/data --out "$(OUT)"

check: all
	@ctest --preset $(PRESET) -j $(JOBS)

asan:
	@$(MAKE) --no-print-directory check PRESET=asan

bench: all
	@$(BUILD)/bin/tnk bench --out "$(OUT)"

# The list of installed files may be root's, from another time. Root also lets the dynamic linker know of new libraries.
install: build
	@rm -f "$(BUILD)/install_manifest.txt"
	@cmake --install "$(BUILD)" --prefix "$(PREFIX)"
	@if [ "$$(id -u)" -eq 0 ] && [ -z "$(DESTDIR)" ]; then PATH="$$PATH:/sbin" ldconfig; fi

format:
	@git ls-files '*.h' '*.cpp' '*.c' | xargs clang-format -i

clean:
	@rm -rf build "$(OUT)"
