# The front door. Presets and targets: CMakePresets.json, docs/architecture.md.
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
MAKEFLAGS += --no-print-directory
SHELL := /bin/bash
.SHELLFLAGS := -o pipefail -c

# What the C library's own tests are called; the rest looks at the package as a host of x86 sees it.
LIBRARY_TESTS := core frame vector frontend scoring training vq aurora noise interface
ANY_LIBRARY_TEST := $(subst $() ,|,$(LIBRARY_TESTS) foundation selftest)

.PHONY: demo test check check-sanitizers check-threads check-reference check-tidy check-abi check-v4 check-lto check-generic check-arm64 check-processors coverage fuzz bench docs python deb install format clean

demo:
	@scripts/setup
	@cmake --preset x86_64 >/dev/null
	@cmake --build --preset x86_64 -j$(JOBS) --target kivsr kivsrw7_v3 | scripts/progress
	@scripts/demo build/x86_64/bin/kivsr
	@echo
	@scripts/noise-table build/x86_64/bin/kivsr

test:
	@scripts/setup test
	@scripts/check-format
	@for preset in x86_64 i386; do \
	  echo "== $$preset"; \
	  cmake --preset $$preset >/dev/null && cmake --build --preset $$preset -j$(JOBS) | scripts/progress && \
	  ctest --test-dir build/$$preset --output-on-failure -j$(JOBS) || exit 1; \
	done

# What the test command does not cover.
check: check-sanitizers check-threads check-reference check-tidy check-abi check-v4 check-lto check-generic check-arm64 check-processors

# The tests and the seeds of the fuzz targets under the address and undefined-behaviour sanitizers, by clang.
check-sanitizers:
	@scripts/setup test
	@cmake --preset asan >/dev/null && cmake --build --preset asan -j$(JOBS) | scripts/progress
	@ctest --test-dir build/asan --output-on-failure -j$(JOBS)

# Objects that threads share, under the thread sanitizer: every other test runs on one thread.
check-threads:
	@scripts/setup test
	@cmake --preset tsan >/dev/null && cmake --build --preset tsan -j$(JOBS) | scripts/progress
	@ctest --test-dir build/tsan --output-on-failure -R '^concurrency$$'

# Every public function documented, every parameter of it.
check-reference: docs

check-tidy: check-sanitizers
	@scripts/setup check
	@scripts/tidy build/asan $(JOBS)

# Programs that are linked with the last release run with this library.
check-abi:
	@scripts/setup test check
	@scripts/abi check $(JOBS)

# The AVX-512 library beside the others in the folder of x86_64: the tests are those that are built already.
check-v4:
	@scripts/setup test
	@cmake --preset x86_64 -DKIVSR_V4=ON >/dev/null && cmake --build --preset x86_64 -j$(JOBS) \
	  --target kivsr_selftest foundation_v4_tests $(LIBRARY_TESTS:%=%_tests) | scripts/progress
	@ctest --test-dir build/x86_64 --output-on-failure -j$(JOBS) -R '^($(ANY_LIBRARY_TEST))\.v4$$'

# Library and program optimised as a whole at link time.
check-lto:
	@scripts/setup test
	@cmake --preset x86_64 -B build/lto -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON -DKIVSR_TESTS=OFF -DKIVSR_PYTHON=OFF -DKIVSR_MPI=OFF >/dev/null
	@cmake --build build/lto -j$(JOBS) --target kivsr kivsrw7_v3 | scripts/progress
	@build/lto/bin/kivsr selftest && GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2 build/lto/bin/kivsr selftest

# The library without any instruction set's own file.
check-generic:
	@scripts/setup test
	@cmake --preset generic >/dev/null && cmake --build --preset generic -j$(JOBS) | scripts/progress
	@ctest --test-dir build/generic --output-on-failure -j$(JOBS) -R '^($(ANY_LIBRARY_TEST))$$'

# Library and program on ARM64, in an emulator; then the instructions of the hot kernels beside those of x86.
check-arm64:
	@scripts/setup test arm64-tools
	@cmake --preset arm64-tools >/dev/null && cmake --build --preset arm64-tools -j$(JOBS) | scripts/progress
	@ctest --test-dir build/arm64-tools --output-on-failure -j$(JOBS) -R '^($(ANY_LIBRARY_TEST)|speech|program)$$'
	@cmake --preset x86_64 >/dev/null && cmake --build --preset x86_64 -j$(JOBS) --target kivsrw7 | scripts/progress
	@scripts/kernel-instructions build/x86_64 build/arm64-tools

# The least of what an emulator stands for: the wrapper's operations, and a digest of every family.
PROCESSORS ?= generic arm64 riscv64 ppc64le
check-processors:
	@scripts/setup test $(filter-out generic,$(PROCESSORS))
	@for preset in $(PROCESSORS); do \
	  echo "== $$preset"; \
	  cmake --preset $$preset >/dev/null && \
	  cmake --build --preset $$preset -j$(JOBS) --target kivsr_selftest foundation_tests | scripts/progress && \
	  ctest --test-dir build/$$preset --output-on-failure -j$(JOBS) -R '^(foundation|selftest)$$' || exit 1; \
	done

# The lines of the C library that its tests do not reach; some are other processors'.
coverage:
	@scripts/setup test coverage
	@cmake --preset coverage >/dev/null && cmake --build --preset coverage -j$(JOBS) --target $(LIBRARY_TESTS:%=%_tests) | scripts/progress
	@find build/coverage -name '*.gcda' -delete
	@ctest --test-dir build/coverage --output-on-failure -j$(JOBS) -R '^($(subst $() ,|,$(LIBRARY_TESTS)))$$'
	@gcovr --root . --filter src/ --object-directory build/coverage build/coverage/CMakeFiles/kivsr_objects.dir | grep -v ' 100%'

# Every parser and every function with inputs that nobody meant: make fuzz SECONDS=600, for each target.
SECONDS ?= 60
fuzz:
	@scripts/setup test
	@cmake --preset fuzz >/dev/null && cmake --build --preset fuzz -j$(JOBS) | scripts/progress
	@scripts/fuzz build/fuzz/bin/kivsr_fuzz $(SECONDS)

bench:
	@scripts/setup bench
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench -j$(JOBS) | scripts/progress
	@bench/run build/bench

docs:
	@scripts/setup docs
	@mkdir -p build && doxygen docs/Doxyfile

# A wheel of the Python package, in build/wheel.
python:
	@scripts/setup python
	@cmake --preset x86_64 >/dev/null
	@cmake --build --preset x86_64 -j$(JOBS) --target kivsr_python | scripts/progress
	@cd python && KIVSR_BUILD=../build/x86_64 JOBS=$(JOBS) /usr/bin/python3 setup.py -q egg_info --egg-base ../build \
	  build --build-base ../build/wheel/parts bdist_wheel --dist-dir ../build/wheel
	@ls build/wheel/*.whl

# Debian packages, in build/deb.
deb:
	@scripts/setup docs deb
	@scripts/deb $(JOBS)

install:
	@scripts/setup
	cmake -S . -B build/install -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	cmake --build build/install -j$(JOBS)
	cmake --install build/install

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
