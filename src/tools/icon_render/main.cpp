// talvenne-icon-render: draws the application's SVG icon as PNG files for the
// icon theme, at build time, so the PNG sizes never drift from the drawing.
//
//   talvenne-icon-render <icon.svg> <out-dir> <name> <size>...
//
// writes <out-dir>/<size>x<size>/apps/<name>.png for every size.

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char* argv[]) {
    // Drawing an image needs no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() < 4) {
        std::fputs("usage: talvenne-icon-render <icon.svg> <out-dir> <name> <size>...\n", stderr);
        return 2;
    }
    QSvgRenderer renderer(args[0]);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "talvenne-icon-render: cannot read %s\n", qPrintable(args[0]));
        return 1;
    }
    for (const QString& sizeText : args.mid(3)) {
        bool ok = false;
        const int size = sizeText.toInt(&ok);
        if (!ok || size < 1 || size > 4096) {
            std::fprintf(stderr, "talvenne-icon-render: bad size %s\n", qPrintable(sizeText));
            return 2;
        }
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
        painter.end();
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(args[1]).arg(size);
        const QString file = QStringLiteral("%1/%2.png").arg(folder, args[2]);
        if (!QDir().mkpath(folder) || !image.save(file, "PNG")) {
            std::fprintf(stderr, "talvenne-icon-render: cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
