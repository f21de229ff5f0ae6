// svgtopng as the build runs it, a process: the program's own icon drawn at
// the sizes the desktops ask for, drawings of other proportions kept in
// proportion, and every bad input refused without leaving a file behind.
#include <gtest/gtest.h>

#include <QColor>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

class SvgToPngTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(scratch_.isValid()); }

  // Runs the tool; returns its exit status, or -1 when it did not end normally.
  int Run(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral(SVGTOPNG_PATH), arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit) return -1;
    errors_ = QString::fromLocal8Bit(process.readAllStandardError());
    return process.exitCode();
  }

  QString InScratch(const QString& name) const { return scratch_.filePath(name); }

  QString Write(const QString& name, const QByteArray& content) const {
    QFile file(InScratch(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    return file.fileName();
  }

  QTemporaryDir scratch_{QStringLiteral(SVGTOPNG_SCRATCH "/svgtopng_test-XXXXXX")};
  QString errors_;
};

TEST_F(SvgToPngTest, TheProgramsIconIsDrawnAtEachSizeOnATransparentSquare) {
  for (int size : {16, 48, 256}) {
    SCOPED_TRACE(size);
    const QString png = InScratch(QStringLiteral("tabulon-%1.png").arg(size));
    ASSERT_EQ(Run({QStringLiteral(TABULON_ICON_SVG), QString::number(size), png}), 0) << errors_.toStdString();
    const QImage image(png);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(size, size));
    EXPECT_TRUE(image.hasAlphaChannel());
    // The table's rounded frame leaves the corners empty ...
    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
    EXPECT_EQ(qAlpha(image.pixel(size - 1, size - 1)), 0);
    // ... and its green title bar runs across the top.
    const QColor title = image.pixelColor(size / 2, size * 12 / 64);
    EXPECT_EQ(title.alpha(), 255);
    EXPECT_GT(title.green(), title.red() + 40);
    EXPECT_GT(title.green(), title.blue() + 20);
  }
}

TEST_F(SvgToPngTest, AWideDrawingKeepsItsProportionsCentredInTheSquare) {
  const QString svg = Write(QStringLiteral("wide.svg"),
                            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"100\" height=\"50\" viewBox=\"0 0 100 50\">"
                            "<rect width=\"100\" height=\"50\" fill=\"#ff0000\"/></svg>");
  const QString png = InScratch(QStringLiteral("wide.png"));
  ASSERT_EQ(Run({svg, QStringLiteral("32"), png}), 0) << errors_.toStdString();
  const QImage image(png);
  ASSERT_EQ(image.size(), QSize(32, 32));
  // 100 by 50 scaled into 32 by 32 is 32 by 16, with 8 empty rows above and below.
  for (int x : {0, 16, 31}) {
    SCOPED_TRACE(x);
    EXPECT_EQ(qAlpha(image.pixel(x, 4)), 0);
    EXPECT_EQ(image.pixelColor(x, 16), QColor(Qt::red));
    EXPECT_EQ(qAlpha(image.pixel(x, 27)), 0);
  }
}

TEST_F(SvgToPngTest, BadDrawingsAndSizesAreRefusedAndNoFileIsLeft) {
  const QString svg = QStringLiteral(TABULON_ICON_SVG);
  const QString notSvg = Write(QStringLiteral("notes.svg"), "plain text, not a drawing\n");
  const QString png = InScratch(QStringLiteral("out.png"));
  struct Case {
    const char* what;
    QStringList arguments;
    int status;
  };
  const Case cases[] = {
      {"a missing drawing", {InScratch(QStringLiteral("missing.svg")), QStringLiteral("32"), png}, 1},
      {"a file that is not SVG", {notSvg, QStringLiteral("32"), png}, 1},
      {"a size of nought", {svg, QStringLiteral("0"), png}, 2},
      {"a size that is not a number", {svg, QStringLiteral("32px"), png}, 2},
      {"a size beyond any icon", {svg, QStringLiteral("100000"), png}, 2},
      {"no output named", {svg, QStringLiteral("32")}, 2},
      {"an output folder that is not there", {svg, QStringLiteral("32"), InScratch(QStringLiteral("no/such/out.png"))}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(Run(c.arguments), c.status);
    // Qt may have its own say on standard error; the tool's reason is a line of its own.
    EXPECT_TRUE(errors_.contains(QRegularExpression(QStringLiteral("^svgtopng: "), QRegularExpression::MultilineOption)))
        << errors_.toStdString();
    EXPECT_FALSE(QFile::exists(png));
  }
}

TEST_F(SvgToPngTest, AFailedRunLeavesTheIconOfTheLastGoodRunAsItWas) {
  const QString png = InScratch(QStringLiteral("kept.png"));
  ASSERT_EQ(Run({QStringLiteral(TABULON_ICON_SVG), QStringLiteral("32"), png}), 0);
  QFile before(png);
  ASSERT_TRUE(before.open(QIODevice::ReadOnly));
  const QByteArray good = before.readAll();
  before.close();

  const QString broken = Write(QStringLiteral("broken.svg"), "<svg xmlns=\"http://www.w3.org/2000/svg\"><rect");
  EXPECT_EQ(Run({broken, QStringLiteral("32"), png}), 1);
  QFile after(png);
  ASSERT_TRUE(after.open(QIODevice::ReadOnly));
  EXPECT_EQ(after.readAll(), good);
}

}  // namespace
