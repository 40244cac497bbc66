#pragma once

// talvenne-bench --scroll FILE: opens the biggest conversation of the history
// in FILE in the real chat view and scrolls it, printing one line of figures
// (see chat_scroll_bench.cpp). Needs a GUI application of its own, so the
// table's program runs it as a child process.
int runChatScrollBench(int argc, char* argv[]);
