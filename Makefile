# On a fresh Debian machine, as root or with sudo, two commands do everything: make demo, make test.
# `make help` lists the rest. Packagers call CMake themselves; nothing here is needed for that.
.PHONY: help demo test test-cluster build packages install deb bench format clean
.DEFAULT_GOAL := help
PREFIX ?= /usr/local
python_packages := pybind11-dev python3-dev python3-numpy
BENCH_SIZE ?= full

help:
	@echo "make demo       install packages, build the programs, predict the bundled example"
	@echo "make test       install packages, build programs and tests, run the tests"
	@echo "make test-cluster  a batch on a Slurm cluster of this one machine (root)"
	@echo "make build      install packages, build the programs and the data directory"
	@echo "make install    the same, then install under PREFIX ($(PREFIX)); DESTDIR is respected"
	@echo "make deb        Debian packages in build/deb, looked at by lintian"
	@echo "make packages   install the Debian packages that building needs (root or sudo)"
	@echo "make bench      ratios of the fast kernels to their plain forms, held against the least that they"
	@echo "                have to be; takes some minutes, BENCH_SIZE=small less"
	@echo "make format     clang-format on all sources"
	@echo "make clean      remove build/"

demo: build
	@scripts/demo.sh build/release

build: packages
	@echo "Building the programs; the first time this takes some minutes."
	@scripts/configure.sh release
	cmake --build --preset release --target programs

test: packages
	@echo "Building programs and tests, running the tests; the first time this takes a while."
	@ORVIX_EXTRA_PACKAGES="libgtest-dev libgmock-dev pkg-config $(python_packages) python3-pandas \
		python3-pytest" scripts/install-packages.sh
	@scripts/configure.sh release -DORVIX_BUILD_TESTS=ON -DORVIX_BUILD_PYTHON=ON -DORVIX_BUILD_MAN=ON
	cmake --build --preset release
	ctest --preset release

test-cluster: packages
	@ORVIX_EXTRA_PACKAGES="libgtest-dev libgmock-dev slurm-wlm munge snakemake" scripts/install-packages.sh
	@scripts/configure.sh release -DORVIX_BUILD_TESTS=ON
	cmake --build --preset release --target programs
	cd build/release && ctest -C cluster -L cluster --output-on-failure

install: build
	cmake --install build/release --prefix "$(PREFIX)"

deb: packages
	@echo "Building the packages; this takes some minutes."
	@ORVIX_EXTRA_PACKAGES="dpkg-dev debhelper dh-python fakeroot lintian $(python_packages)" \
		scripts/install-packages.sh
	scripts/build-deb.sh

packages:
	@scripts/install-packages.sh

bench: packages
	@ORVIX_EXTRA_PACKAGES="libbenchmark-dev" scripts/install-packages.sh
	@scripts/configure.sh release -DORVIX_BUILD_BENCH=ON
	cmake --build --preset release
	scripts/bench.sh build/release $(BENCH_SIZE)

format:
	git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format -i

clean:
	rm -rf build
