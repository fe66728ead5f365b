# The front door. Everything a newcomer needs is `make demo` and `make check`.

PRESET  ?= release
CHECKED  = build/$(PRESET)
OUT     ?= out
PREFIX  ?= /usr/local
JOBS    ?= $(shell nproc)
MAKEFLAGS += --no-print-directory

# What users need is built by itself, without tests and for any compiler; or in a preset's build, where that is asked
# for or there already. CMake writes the file named here last.
STAMP    = cmake_install.cmake
ifeq ($(filter command line environment,$(origin PRESET))$(wildcard $(CHECKED)/$(STAMP)),)
BUILD    = build/plain
else
BUILD    = $(CHECKED)
endif

.NOTPARALLEL: # JOBS says how many processes a build has
.PHONY: help bootstrap bootstrap-program build all demo check asan bench cluster docs install uninstall format clean

help:
	@echo 'make demo      install what is missing, build, run the tour; pictures go to $(OUT)/'
	@echo 'make check     build everything and run every test'
	@echo 'make build     build the libraries and the program tnk, nothing else'
	@echo 'make asan      run the tests under the address and undefined-behaviour sanitizers'
	@echo 'make bench     measure against peer libraries; see scripts/bootstrap.sh --peers'
	@echo 'make cluster   run programs of several processes on it; see scripts/bootstrap.sh --cluster'
	@echo 'make docs      a reference of headers and Python package in $(OUT)/docs; see scripts/bootstrap.sh --docs'
	@echo 'make install   install under PREFIX (now $(PREFIX)); make uninstall takes it away again'
	@echo 'make format    format the sources; make clean removes build/ and $(OUT)/'

bootstrap:
	@scripts/bootstrap.sh

bootstrap-program:
	@scripts/bootstrap.sh --build --program

# Configures once; afterwards the build itself notices changed CMake files. A machine without a network is asked once.
build/plain/$(STAMP):
	@scripts/bootstrap.sh --build
	@echo 'configuring build/plain'
	@cmake -S . -B build/plain $$(command -v ninja >/dev/null && echo -G Ninja) --log-level=NOTICE >/dev/null
	@touch $@

$(CHECKED)/$(STAMP): CMakePresets.json | bootstrap
	@echo 'configuring $(CHECKED)'
	@cmake --preset $(PRESET) --log-level=NOTICE >/dev/null
	@touch $@

build: $(BUILD)/$(STAMP)
	@cmake --build $(BUILD) -j $(JOBS) --target tnk_installed

all: $(CHECKED)/$(STAMP)
	@cmake --build $(CHECKED) -j $(JOBS)

demo: bootstrap-program build
	@$(BUILD)/bin/tnk tour --data examples/data --out "$(OUT)"

check: all
	@ctest --preset $(PRESET) -j $(JOBS)

asan:
	@$(MAKE) check PRESET=asan

bench: all
	@$(CHECKED)/bin/tnk bench --out "$(OUT)"

cluster: build
	@scripts/cluster.sh $(BUILD)/lib

docs: build
	@scripts/docs.sh $(BUILD)/lib "$(OUT)/docs"

# The list of installed files may be root's, from another time. Root also lets the dynamic linker know of new libraries.
LDCONFIG = if [ "$$(id -u)" -eq 0 ] && [ -z "$(DESTDIR)" ]; then PATH="$$PATH:/sbin" ldconfig; fi

install: build
	@rm -f $(BUILD)/install_manifest.txt
	@cmake --install $(BUILD) --prefix "$(PREFIX)"
	@$(LDCONFIG)

uninstall:
	@cmake -DPREFIX="$(PREFIX)" -P cmake/uninstall.cmake
	@$(LDCONFIG)

format:
	@git ls-files '*.h' '*.cpp' '*.c' | xargs clang-format -i

clean:
	@rm -rf build "$(OUT)"
