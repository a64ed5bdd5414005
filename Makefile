# The two commands a newcomer needs are `make run` and `make test`; both set up what is missing first.
BUILD := build/release
JOBS ?= $(shell nproc)
SIZE ?= medium
SECONDS ?= 60
MINUTES ?= 20
SOURCES = $(shell git ls-files '*.cpp' '*.h')

.PHONY: run test bench build setup sanitize fuzz attack chaos soak pictures format check-format lint clean

run: build
	$(BUILD)/bin/zelmor-host --demo $(SIZE) --screenshots $(BUILD)/tour

test: build
	ctest --preset release -j 2

bench: build
	scripts/bench.sh $(BUILD)

setup:
	scripts/setup.sh

build: setup
	@test -f $(BUILD)/build.ninja || cmake --preset release
	cmake --build $(BUILD) -j $(JOBS)

sanitize: setup
	@test -f build/sanitize/build.ninja || cmake --preset sanitize
	cmake --build build/sanitize -j $(JOBS)
	ctest --preset sanitize -j 2

# Every fuzz target for SECONDS; a finding fails.
fuzz: setup
	scripts/fuzz.sh $(SECONDS)

# Every attack that once went through, against servers of its own over each kind of database; one that does
# again fails.
attack: build
	for storage in embedded postgres odbc; do \
		echo "$$storage:"; $(BUILD)/bin/zelmor_attack --storage $$storage || exit 1; \
	done

# Desks work for SECONDS while servers, connections and the database die; a broken promise fails.
chaos: build
	$(BUILD)/bin/zelmor_chaos --seconds $(SECONDS) --folder $(BUILD)/chaos

# The work of a day in MINUTES: 200 desks; a server that nobody kills holds no more at the end than at first.
soak: build
	$(BUILD)/bin/zelmor_chaos --soak --desks 200 --seconds $$(($(MINUTES) * 60)) --folder $(BUILD)/soak

# The user guide's pictures, taken anew.
pictures: build
	scripts/pictures.sh

format:
	clang-format -i $(SOURCES)

check-format: setup
	clang-format --dry-run -Werror $(SOURCES)

lint: build
	scripts/lint.sh

clean:
	rm -rf build
