# Set-up, build and test in one place: `make test` and `make demo` create the
# virtual environment, build the C++ engine and install the package as needed.
PYTHON_BOOT ?= $(shell p="$$(pyenv root 2>/dev/null)/versions/3.13.0/bin/python3"; \
	if [ -x "$$p" ]; then echo "$$p"; elif command -v python3.13 >/dev/null; then command -v python3.13; else echo python3; fi)
VENV := .venv
PY := $(VENV)/bin/python
SOURCES := $(shell find src -name '*.py' -o -name '*.cpp' -o -name '*.hpp') CMakeLists.txt pyproject.toml
HYPOTHESIS_PROFILE ?= dev

.PHONY: all install test test-sanitized demo bench clean

all: install

$(VENV)/.deps: Makefile
	$(PYTHON_BOOT) -m venv $(VENV)
	$(PY) -m pip install -q --upgrade pip
	$(PY) -m pip install -q numpy structlog pytest hypothesis "scikit-build-core>=0.10" "nanobind>=2.4" ninja cmake matplotlib pyarrow "dask[distributed]" pandas
	touch $@

$(VENV)/.installed: $(VENV)/.deps $(SOURCES)
	$(PY) -m pip install -q --no-build-isolation --no-deps .
	touch $@

install: $(VENV)/.installed

test: install
	HYPOTHESIS_PROFILE=$(HYPOTHESIS_PROFILE) $(PY) -m pytest tests

# The test suite against an engine built with address and undefined-behaviour
# sanitizers; the next `make install` puts the release build back.
SANITIZER_LIBS = $(shell gcc -print-file-name=libasan.so) $(shell gcc -print-file-name=libubsan.so)
test-sanitized: $(VENV)/.deps
	rm -f $(VENV)/.installed
	$(PY) -m pip install -q --no-build-isolation --no-deps -C cmake.define.QUILLMARSH_SANITIZE=ON -C build-dir=build/sanitized .
	LD_PRELOAD="$(SANITIZER_LIBS)" ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
		HYPOTHESIS_PROFILE=$(HYPOTHESIS_PROFILE) $(PY) -m pytest tests

demo: install
	$(VENV)/bin/quillmarsh demo

$(VENV)/.bench-deps: $(VENV)/.deps
	$(PY) -m pip install -q pandas bottleneck
	touch $@

bench: install $(VENV)/.bench-deps
	for script in bench/bench_*.py; do echo "== $$script"; $(PY) "$$script" || exit 1; done

clean:
	rm -rf build $(VENV) out
