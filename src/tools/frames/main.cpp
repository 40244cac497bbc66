#include "frames_cli.h"

#include <QCoreApplication>
#include <cstdio>

// talvenne-frames: decode radio frames to JSON and build command frames, for
// looking at captured traffic and for feeding a radio by hand.
int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return FramesCli::run(QCoreApplication::arguments().mid(1), out, err);
}
