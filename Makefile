# The front door: short names over the CMake presets. Every target first installs what is missing (scripts/setup).
FILE ?=
ROOM ?=
PREFIX ?= $(CURDIR)/build/install
FUZZ_SECONDS ?= 20
FUZZ_FLAGS ?= -max_total_time=$(FUZZ_SECONDS)
# Many short turns: most fit between two of the system's own, so that medians hold on a busy machine, too.
BENCH_FLAGS ?= --benchmark_repetitions=31 --benchmark_enable_random_interleaving=true \
    --benchmark_report_aggregates_only=true --benchmark_min_time=0.002

.DEFAULT_GOAL := help
.PHONY: help setup setup-msabi demo test soak pinned mutants checked coverage bench sanitize fuzz proof msabi docs install \
    install-msabi dist check clean

help:
	@echo 'make demo      set up, build, run the tour (on FILE=path, or its own text), draw build/scene.png and frustum.svg'
	@echo 'make test      set up, build, and run all tests'
	@echo 'make soak      the tests that gain by large counts, with large counts'
	@echo 'make pinned    print anew what tests/pinned holds of digests and tables'
	@echo 'make mutants   apply the recorded faults (of ROOM=os) one at a time: a test must fail on each'
	@echo 'make checked   all tests on a DLL that checks its callers'
	@echo 'make coverage  which branches of the library the tests take, and a list of those they do not'
	@echo 'make bench     measure every room beside its peers, and list what became slower (build/bench/bench.md)'
	@echo 'make sanitize  the portable rooms under AddressSanitizer and UBSan'
	@echo 'make fuzz      each fuzzer for FUZZ_SECONDS=$(FUZZ_SECONDS) seconds'
	@echo 'make proof     what threads may meet, under every schedule with few preemptions'
	@echo 'make msabi     the DLL in the Microsoft C++ ABI, with its tests and checks'
	@echo 'make docs-check  reads in a browser what make docs made'
	@echo 'make docs      HTML in build/docs'
	@echo 'make install   headers, DLL, symbols, host and packages to PREFIX=$(PREFIX); install-msabi: in the other ABI'
	@echo 'make dist      archives to hand out, and their checksums, in build/dist'
	@echo 'make check     what CI checks besides tests: format, lint, floors, recorded faults without a test'

setup:
	@scripts/setup

build/%/build.ninja: CMakePresets.json | setup
	cmake --preset $* >/dev/null

demo: build/mingw/build.ninja
	@cmake --build --preset mingw --target tour picture
	@scripts/wine-run build/mingw/bin/tour.exe $(FILE)
	@scripts/wine-run build/mingw/bin/picture.exe scene build/scene.png
	@scripts/wine-run build/mingw/bin/picture.exe frustum build/frustum.svg

# The second target compiles each public header alone.
test: build/mingw/build.ninja
	cmake --build --preset mingw --target all all_verify_interface_header_sets
	ctest --preset mingw

soak: build/mingw/build.ninja
	cmake --build --preset mingw
	ctest --preset soak

# The lists of tests/pinned that programs print, to be read as a diff.
pinned: build/mingw/build.ninja
	cmake --build --preset mingw --target digest tables
	scripts/wine-run build/mingw/bin/digest.exe | tr -d '\r' >tests/pinned/digests.txt
	scripts/wine-run build/mingw/bin/tables.exe | tr -d '\r' >tests/pinned/tables.txt

mutants: build/mingw/build.ninja
	scripts/mutate $(addprefix --room ,$(ROOM))

# Runs the programs of `make test` that load the DLL once more, beside one that checks its callers.
checked: build/mingw/build.ninja build/checked/build.ninja
	cmake --build --preset mingw
	cmake --build --preset checked --target zelk_core
	rm -rf build/checked/programs && cp -al build/mingw/bin build/checked/programs
	. build/checked/facts && ln -f build/checked/bin/$$dll* build/checked/programs
	ZELK_CHECKED_PROGRAMS=$(CURDIR)/build/checked/programs ctest --preset mingw \
	    --exclude-regex 'guard_start|_unoptimized|_plain_lanes|_internal_test|_replay|^tables|^base_formats|^install|^exports'

# Counts of an earlier run would be added to. The plain lanes take square roots from the C library where nothing is
# optimized, and it rounds some of them twice. An installed host wants the counters, which its users do not link.
coverage: build/coverage/build.ninja
	cmake --build --preset coverage
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage --exclude-regex '^(digest_plain_lanes|install)$$'
	scripts/coverage

bench: build/mingw/build.ninja
	cmake --build --preset mingw --target benchmarks
	scripts/bench $(BENCH_FLAGS)

sanitize: build/sanitize/build.ninja
	cmake --build --preset sanitize
	ctest --preset sanitize

fuzz: build/fuzz/build.ninja
	cmake --build --preset fuzz
	$(MAKE) --no-print-directory --output-sync --jobs $$(nproc) $(patsubst fuzz/seeds/%.txt,fuzz-%,$(wildcard fuzz/seeds/*.txt))

fuzz-%:
	scripts/seeds unpack fuzz/seeds/$*.txt build/fuzz/corpus/$*
	build/fuzz/bin/$*_fuzz $(FUZZ_FLAGS) -print_final_stats=1 build/fuzz/corpus/$*

proof: build/proof/build.ninja
	cmake --build --preset proof
	ctest --preset proof

setup-msabi:
	@scripts/setup --msabi

build/msabi/build.ninja: CMakePresets.json | setup-msabi
	cmake --preset msabi >/dev/null

msabi: build/msabi/build.ninja
	cmake --build --preset msabi --target all all_verify_interface_header_sets
	ctest --preset msabi

.PHONY: docs-check guide-check picture
docs-check: docs
	scripts/check-docs

# Does what "Getting started" says, with an installation of this checkout.
guide-check: PREFIX = $(CURDIR)/build/docs/prefix
guide-check: install
	scripts/check-guide $(PREFIX)

# The picture in README.md, which the tests compare with what the example draws.
picture: build/mingw/build.ninja
	cmake --build --preset mingw --target picture
	scripts/wine-run build/mingw/bin/picture.exe build/geometry.svg >/dev/null
	tr -d '\r' <build/geometry.svg >docs/pictures/geometry.svg

docs: build/mingw/build.ninja
	cmake --build --preset mingw --target picture
	scripts/docs

# Without what only tests use. LZO=OFF leaves out LZO.
LZO ?= ON
install: PRESET = package
install: OPTIONS = --library
install-msabi: PRESET = package-msabi
install-msabi: OPTIONS = --library --msabi
install install-msabi:
	@scripts/setup $(OPTIONS)
	cmake --preset $(PRESET) -DZELK_CORE_LZO=$(LZO) >/dev/null
	cmake --build --preset $(PRESET) --target zelk_package
	cmake --install build/$(PRESET) --prefix $(PREFIX)

dist: docs
	@scripts/setup --library --msabi
	LZO=$(LZO) scripts/dist build/dist

check: build/mingw/build.ninja build/sanitize/build.ninja
	scripts/check

clean:
	rm -rf build/mingw build/checked build/coverage build/msabi build/sanitize build/fuzz build/proof build/mutants build/docs build/install \
	    build/package build/package-msabi build/dist
