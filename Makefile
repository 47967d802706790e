# Two commands do everything on a fresh Debian machine, as root or with sudo:
#   make demo   installs packages, builds, predicts the bundled example and shows the result
#   make test   installs packages, builds and runs the tests
.PHONY: demo test packages build bench format clean

demo: build
	scripts/demo.sh build/release

test: build
	ctest --preset release

build: packages
	cmake --preset release
	cmake --build --preset release

packages:
	scripts/install-packages.sh

# Ratios of the fast kernels to their plain forms at full size; takes some minutes.
bench: build
	scripts/bench.sh build/release full

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
