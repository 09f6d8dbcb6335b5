# The two commands of the README, and what developers use beside them. Each installs what it needs first.
export GNSS_TEST_DATA ?= $(abspath ../shared)

.PHONY: run test test-long bench fuzz docs format tidy coverage clean

run:       ## build and run; ARGS="orbit FILE" are given to the program
	@scripts/install-packages.sh build
	@scripts/console-page.sh
	@scripts/quietly.sh cmake --preset release
	@scripts/quietly.sh cmake --build --preset release
	@scripts/run.sh $(ARGS)

test:      ## everything that must pass before a change lands
	@scripts/install-packages.sh build test
	@scripts/console-page.sh
	@scripts/test.sh

test-long: ## soak, kill, month and long fuzz runs
	@scripts/install-packages.sh build test
	@scripts/console-page.sh
	@scripts/test-long.sh

bench:     ## the benchmarks
	@scripts/install-packages.sh build test
	@scripts/console-page.sh
	@scripts/quietly.sh cmake --preset release
	@scripts/quietly.sh cmake --build --preset release
	@scripts/bench.sh

fuzz:      ## every fuzz target for GNSS_FUZZ_SECONDS (300)
	@scripts/install-packages.sh build test
	@scripts/console-page.sh
	@scripts/fuzz.sh $${GNSS_FUZZ_SECONDS:-300}

docs:      ## the reference documentation, in build/docs
	@scripts/install-packages.sh docs
	@scripts/docs.sh

format:    ## reformat the sources
	@scripts/install-packages.sh test
	@scripts/format.sh --fix

tidy:      ## clang-tidy over every source file
	@scripts/install-packages.sh build test
	@scripts/console-page.sh
	@scripts/tidy.sh --all

coverage:  ## line coverage of the tests, in build/coverage
	@scripts/install-packages.sh build test coverage
	@scripts/console-page.sh
	@scripts/coverage.sh

clean:
	rm -rf build
