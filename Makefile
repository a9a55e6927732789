# SPDX-License-Identifier: GPL-3.0-or-later
# Korvane: the two everyday commands are `make run` and `make test`.
BUILD       ?= build
BUILD_TYPE  ?= RelWithDebInfo
CMAKE_FLAGS ?=
JOBS        ?= $(shell nproc)

.PHONY: all deps configure build run test bench fuzz package clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	@bash scripts/run.sh $(BUILD)

test: build
	@cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

bench: configure
	@cmake --build $(BUILD) --target bench -j $(JOBS)
	@bash scripts/run-bench.sh $(BUILD)

# Every reader of outside bytes under clang's libFuzzer, FUZZ_SECONDS each,
# starting from the corpus in fuzz/corpus (new inputs and crashes stay in
# build-fuzz; copy the worth-keeping ones into the corpus by hand).
FUZZ_SECONDS ?= 60
fuzz: deps
	@bash scripts/fuzz.sh build-fuzz $(FUZZ_SECONDS)

# A .deb of the programs, the help pages, the desktop entry, the icon, the
# AppStream data and the udev rule: apt install ./korvane_*.deb
package: build
	@cd $(BUILD) && cpack -G DEB >/dev/null && ls -1 "$$PWD"/korvane_*.deb

clean:
	rm -rf $(BUILD)
