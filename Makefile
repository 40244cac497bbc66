# The two commands of the README, and a few more for developers.
BUILD_DIR ?= build
SANITIZE_DIR ?= build-sanitize
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo
RUN_ARGS ?= --demo

.PHONY: deps build run test soak bench sanitize fuzz format lint clean package

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS)

build: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j$(JOBS)

run: build
	$(BUILD_DIR)/bin/talvenne $(RUN_ARGS)

# The long fault soaks (label "soak") run only with make soak.
test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j$(JOBS) -LE soak

# A .deb of the installed application in $(BUILD_DIR) (CPack, dpkg-shlibdeps).
package: build
	cmake --build $(BUILD_DIR) --target package

soak: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -L soak --verbose

sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=Debug -DTALVENNE_SANITIZE=ON
	cmake --build $(SANITIZE_DIR) -j$(JOBS)
	ASAN_OPTIONS=detect_leaks=1 LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --test-dir $(SANITIZE_DIR) --output-on-failure -j$(JOBS) -LE soak

# The performance table of the README, from an optimised build of its own.
BENCH_DIR ?= build-bench
bench:
	@scripts/install-deps.sh bench
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DTALVENNE_BENCH=ON
	cmake --build $(BENCH_DIR) -j$(JOBS) --target talvenne-bench talvenne
	$(BENCH_DIR)/bin/talvenne-bench

# Each fuzz target runs FUZZ_SECONDS on top of the committed corpus; what it
# learns stays in $(FUZZ_DIR)/work, crashes land in $(FUZZ_DIR) as crash-*.
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_TARGETS = frame_decoder history_loader journal_replay node_book
fuzz:
	@scripts/install-deps.sh fuzz
	CC=clang CXX=clang++ cmake -S fuzz -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(FUZZ_DIR) -j$(JOBS)
	set -e; for t in $(FUZZ_TARGETS); do \
		mkdir -p $(FUZZ_DIR)/work/$$t; \
		echo "== fuzz_$$t for $(FUZZ_SECONDS) s"; \
		log=$(FUZZ_DIR)/fuzz_$$t.log; \
		$(FUZZ_DIR)/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
			-artifact_prefix=$(FUZZ_DIR)/ $(FUZZ_DIR)/work/$$t fuzz/corpus/$$t > $$log 2>&1 \
			|| { tail -n 60 $$log; exit 1; }; \
		grep -E '^(Done|stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss_mb)' $$log; \
	done

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

# Formatting of the C++ sources, and qmllint over every view (its settings
# are in src/ui/views/.qmllint.ini).
lint: build
	git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror
	cmake --build $(BUILD_DIR) --target all_qmllint

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR)
