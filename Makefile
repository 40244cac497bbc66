# The two commands of the README, and a few more for developers.
BUILD_DIR ?= build
SANITIZE_DIR ?= build-sanitize
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo
RUN_ARGS ?= --demo

.PHONY: deps build run test sanitize format lint clean

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS)

build: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j$(JOBS)

run: build
	$(BUILD_DIR)/bin/talvenne $(RUN_ARGS)

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j$(JOBS)

sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=Debug -DTALVENNE_SANITIZE=ON
	cmake --build $(SANITIZE_DIR) -j$(JOBS)
	ASAN_OPTIONS=detect_leaks=1 LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --test-dir $(SANITIZE_DIR) --output-on-failure -j$(JOBS)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

lint:
	git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR)
