# The front door. Everything a newcomer needs is `make demo` and `make check`.

PRESET  ?= release
BUILD    = build/$(PRESET)
OUT     ?= out
PREFIX  ?= /usr/local
SOURCES  = CMakeLists.txt CMakePresets.json

.PHONY: help bootstrap build all demo check asan bench install format clean

help:
	@echo 'make demo      install what is missing, build, run the tour; pictures go to $(OUT)/'
	@echo 'make check     build everything and run every test'
	@echo 'make build     build the libraries and the program tnk, nothing else'
	@echo 'make asan      run the tests under the address and undefined-behaviour sanitizers'
	@echo 'make bench     measure against a peer library; see scripts/bootstrap.sh --peers'
	@echo 'make install   install under PREFIX (now $(PREFIX))'
	@echo 'make format    format the sources; make clean removes build/ and $(OUT)/'

bootstrap:
	@scripts/bootstrap.sh

$(BUILD)/build.ninja: $(SOURCES) | bootstrap
	cmake --preset $(PRESET)

build: bootstrap $(BUILD)/build.ninja
	cmake --build --preset $(PRESET) --target tnk_avx tnk_host tnk

all: bootstrap $(BUILD)/build.ninja
	cmake --build --preset $(PRESET)

demo: build
	$(BUILD)/bin/tnk tour --data examples/data --out $(OUT)

check: all
	ctest --preset $(PRESET) -j 2

asan:
	$(MAKE) check PRESET=asan

bench: all
	$(BUILD)/bin/tnk bench --out $(OUT)

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

format:
	git ls-files '*.h' '*.cpp' '*.c' | xargs clang-format -i

clean:
	rm -rf build $(OUT)
