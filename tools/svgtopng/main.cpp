// svgtopng: draws an SVG as a square PNG of a given size, for the fixed-size
// icons that desktops still look up beside the scalable one.
//
//   svgtopng SVG SIZE OUTPUT.png
//
// The drawing keeps its proportions and is centred on a transparent square.
// Exit status: 0 written, 1 the SVG could not be read or the PNG not written,
// 2 wrong arguments. Nothing is left at OUTPUT when it fails.
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSaveFile>
#include <QSvgRenderer>
#include <cstdio>

namespace {

constexpr int kLargestSize = 4096;

int Fail(int status, const QString& message) {
  std::fprintf(stderr, "svgtopng: %s\n", qPrintable(message));
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // Text in a drawing needs the font database, which only a GUI application
  // has; the offscreen platform gives one without a screen, as on a build
  // machine.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);
  const QStringList args = QCoreApplication::arguments();
  if (args.size() != 4) return Fail(2, QStringLiteral("usage: svgtopng SVG SIZE OUTPUT.png"));

  bool isNumber = false;
  const int size = args[2].toInt(&isNumber);
  if (!isNumber || size < 1 || size > kLargestSize)
    return Fail(2, QStringLiteral("size must be a whole number from 1 to %1, not '%2'").arg(kLargestSize).arg(args[2]));

  QSvgRenderer renderer(args[1]);
  if (!renderer.isValid()) return Fail(1, QStringLiteral("cannot read the SVG drawing ") + args[1]);
  renderer.setAspectRatioMode(Qt::KeepAspectRatio);

  QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  {
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    renderer.render(&painter, QRectF(0, 0, size, size));
  }

  // Written whole or not at all, so a failed build step never leaves a
  // half-written icon for the next incremental build to take as current.
  QSaveFile out(args[3]);
  if (!out.open(QIODevice::WriteOnly) || !image.save(&out, "PNG") || !out.commit())
    return Fail(1, QStringLiteral("cannot write ") + args[3]);
  return 0;
}
