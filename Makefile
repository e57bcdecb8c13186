# What a newcomer types. People who live in CMake use the presets of CMakePresets.json directly.

CORPUS ?=
SECONDS ?= 60
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
ccache := $(if $(shell command -v ccache),-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
export WINEPREFIX ?= $(CURDIR)/build/wine
# $(call build,PRESET[,OPTIONS[,TARGETS]]): configures, quietly unless it fails, and builds all, or those targets.
define build
@mkdir -p build
@cmake --preset $(1) $(ccache) $(2) >build/$(1).log 2>&1 || { cat build/$(1).log; exit 1; }
@cmake --build build/$(1) --parallel $(JOBS) $(if $(3),--target $(3))
endef
corpus_option = -DQUARROW_CORPUS="$(abspath $(CORPUS))"

.NOTPARALLEL:
.PHONY: all report test test-linux test-linux-asan test-windows stress analyze bench fuzz install package docs format clean

# The libraries and the tool, as they are installed.
all:
	@scripts/install-packages.sh build
	$(call build,release)

# Builds and prints the machine that this runs on.
report: all
	@build/release/bin/quarrow

# Builds and tests Linux with gcc, Linux with clang under sanitizers, and Windows under Wine. CORPUS=FOLDER adds a folder of
# CPUID dumps; several stand with blanks between them.
test: test-linux test-linux-asan test-windows

test-linux test-linux-asan: test-%:
	@scripts/install-packages.sh test
	$(call build,$*,$(corpus_option))
	ctest --preset $* --parallel $(JOBS)

test-windows:
	@scripts/install-packages.sh test
	$(call build,windows,$(corpus_option))
	@scripts/run-under-wine.sh --start
	ctest --preset windows --parallel $(JOBS); status=$$?; scripts/run-under-wine.sh --stop; exit $$status

# Sixteen threads that use the library at once while all processors are busy, under ThreadSanitizer, for SECONDS.
stress:
	@scripts/install-packages.sh test
	$(call build,linux-tsan,,stress_tests)
	QUARROW_STRESS_SECONDS=$(SECONDS) build/linux-tsan/bin/stress_tests

# clang-tidy and cppcheck over everything but the tests; .clang-tidy says which checks, and why not the others. The
# folders of Windows are for cppcheck only.
analyze:
	@scripts/install-packages.sh analyze
	$(call build,linux-asan,-DCMAKE_UNITY_BUILD=OFF,libQuarrow_objects)
	cppcheck --quiet --std=c++17 --language=c++ --enable=warning,performance,portability --inline-suppr \
	    --error-exitcode=1 -j $(JOBS) -I. -Ibuild/linux-asan zel libKernelMode pci libQuarrow tools examples
	git ls-files zel libKernelMode pci libQuarrow tools examples | grep '\.cpp$$' | grep -v /windows/ | \
	    xargs -P $(JOBS) -n 4 clang-tidy --quiet -p build/linux-asan

# Measures what the library costs, and prints how that compares with what it must cost. On an idle machine.
bench:
	@scripts/install-packages.sh bench
	$(call build,release,-DQUARROW_BUILD_BENCHMARKS=ON)
	@build/release/bin/quarrow_bench

# Runs each fuzz target for SECONDS, seeded with the project's own machines and those of CORPUS.
fuzz:
	@scripts/install-packages.sh fuzz
	$(call build,fuzz)
	@tests/fuzz/run.sh build/fuzz $(SECONDS) $(CORPUS)

install: all
	cmake --install build/release --prefix "$(PREFIX)" --strip

# Debian packages, archives for Windows, Python wheels for both and the static tool for Linux, in build/packages/.
package: all
	@scripts/install-packages.sh test
	$(call build,release,,wheel quarrow_static)
	$(call build,windows-release,,quarrow quarrow_c wheel)
	@for preset in release windows-release; do \
	    cpack --config build/$$preset/CPackConfig.cmake -B build/$$preset/packages >build/package.log \
	        || { cat build/package.log; exit 1; }; \
	done
	@rm -rf build/packages && mkdir build/packages
	@cp build/release/packages/*.deb build/windows-release/packages/*.zip build/*release/packages/*.whl build/packages/
	@scripts/archive-static-tool.sh build/release build/packages
	@scripts/make-manifests.sh build/packages $(RELEASE_URL)
	@ls -l build/packages

# The reference documentation of the public headers, in build/release/docs/html/.
docs:
	@scripts/install-packages.sh docs
	$(call build,release,,docs)

format:
	@scripts/install-packages.sh format
	git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format -i

clean:
	rm -rf build
