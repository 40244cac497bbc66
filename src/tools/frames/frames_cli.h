#pragma once

#include <QStringList>
#include <QTextStream>

// The frame inspector's command line, apart from main() so that tests can
// drive it with in-memory streams.
namespace FramesCli {

// Exit statuses.
inline constexpr int success = 0;
inline constexpr int badInput = 2;

// `arguments` excludes the program name. Decoded events and built frames go
// to `out`, one per line; one line per bad input goes to `err`.
int run(const QStringList& arguments, QTextStream& out, QTextStream& err);

QString usage();

} // namespace FramesCli
