#pragma once

// talvenne-bench --map: the map's figures on the renderer Qt picks (or the
// one QT_QUICK_BACKEND names), one row per line: figure, value, target and
// whether it holds, separated by tabs. Needs a GUI application of its own,
// so the table's program runs it as a child process.
int runMapBench(int argc, char* argv[]);
