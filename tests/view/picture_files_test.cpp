#include "view/qt/picture_files.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QImageReader>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace vellix::qtview {
namespace {

// Qt's own icon plugin is the reference the reader must agree with.
std::vector<QImage> ReadWithQt(QByteArray bytes) {
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  QImageReader reader(&buffer, "ico");
  std::vector<QImage> images;
  for (int i = 0; i < reader.imageCount() && reader.jumpToImage(i); ++i)
    images.push_back(reader.read());
  return images;
}

void ExpectSameImages(const std::vector<QImage>& ours, const std::vector<QImage>& qts) {
  ASSERT_EQ(ours.size(), qts.size());
  for (size_t i = 0; i < ours.size(); ++i) {
    SCOPED_TRACE("image " + std::to_string(i));
    // Premultiplied, so the colour of a clear pixel doesn't count.
    EXPECT_EQ(ours[i].convertToFormat(QImage::Format_ARGB32_Premultiplied),
              qts[i].convertToFormat(QImage::Format_ARGB32_Premultiplied));
  }
}

// Little-endian fields of one size in bytes.
void Put(QByteArray& out, int size, std::initializer_list<int64_t> values) {
  for (int64_t value : values)
    for (int i = 0; i < size; ++i)
      out.append(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// An icon file of one bitmap image of the given depth: a palette of the
// image's colours below 24 bits, and a mask clearing the pixels whose alpha is
// below half (32-bit images keep their alpha and a mask of their own).
QByteArray IcoOf(const QImage& source, int bits, bool alphaInColours = true) {
  const QImage image = source.convertToFormat(QImage::Format_ARGB32);
  const int w = image.width(), h = image.height();
  const auto opaque = [](QRgb p) { return p | 0xFF000000U; };
  std::vector<QRgb> palette;
  for (int y = 0; bits <= 8 && y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (std::find(palette.begin(), palette.end(), opaque(image.pixel(x, y))) == palette.end())
        palette.push_back(opaque(image.pixel(x, y)));
  const auto colours = static_cast<uint32_t>(palette.size());
  QByteArray bitmap;
  Put(bitmap, 4, {40, w, 2 * h});
  Put(bitmap, 2, {1, bits});
  Put(bitmap, 4, {0, 0, 0, 0, colours, 0});
  for (QRgb c : palette)
    Put(bitmap, 4, {c & 0xFFFFFF});
  for (int y = h - 1; y >= 0; --y) {
    QByteArray row((w * bits + 31) / 32 * 4, '\0');
    for (int x = 0; x < w; ++x) {
      const QRgb p = image.pixel(x, y);
      if (bits >= 24) {
        const uint32_t argb = alphaInColours ? p : (p & 0xFFFFFF);
        for (int k = 0; k < bits / 8; ++k)
          row[x * bits / 8 + k] = static_cast<char>((argb >> (8 * k)) & 0xFF);
      } else {
        const auto index = static_cast<int>(std::find(palette.begin(), palette.end(), opaque(p)) -
                                            palette.begin());
        const int bit = x * bits;
        row[bit / 8] = static_cast<char>(row[bit / 8] | (index << (8 - bits - bit % 8)));
      }
    }
    bitmap.append(row);
  }
  for (int y = h - 1; y >= 0; --y) {
    QByteArray row((w + 31) / 32 * 4, '\0');
    for (int x = 0; x < w; ++x)
      if (qAlpha(image.pixel(x, y)) < 128)
        row[x / 8] = static_cast<char>(row[x / 8] | (0x80 >> (x % 8)));
    bitmap.append(row);
  }
  QByteArray file;
  Put(file, 2, {0, 1, 1});
  Put(file, 1, {w, h, bits <= 8 ? colours : 0, 0});
  Put(file, 2, {1, bits});
  Put(file, 4, {bitmap.size(), 22});
  return file + bitmap;
}

// A 13 x 9 picture (odd sizes test the row padding) of a few colours, with
// clear and solid pixels and, for the 32-bit case, partial alpha.
QImage Sample(bool partialAlpha, int colourCount = 4) {
  QImage image(13, 9, QImage::Format_ARGB32);
  const QRgb colours[] = {qRgb(200, 30, 30), qRgb(30, 160, 60), qRgb(20, 40, 220),
                          qRgb(250, 250, 0)};
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 13; ++x) {
      const QRgb c = colours[(x + 2 * y) % colourCount];
      const int alpha = (x + y) % 5 == 0 ? 0 : partialAlpha && x % 3 == 0 ? 90 : 255;
      image.setPixel(x, y, qRgba(qRed(c), qGreen(c), qBlue(c), alpha));
    }
  return image;
}

TEST(PictureFiles, IconsReadAsQtsOwnIconPluginReadsThem) {
  // The program's own icons: every image, every pixel.
  const QDir resources(QStringLiteral(VELLIX_SOURCE_DIR "/resources"));
  const QStringList icons = resources.entryList({QStringLiteral("*.ico")});
  ASSERT_FALSE(icons.isEmpty());
  for (const QString& name : icons) {
    SCOPED_TRACE(name.toStdString());
    QFile file(resources.filePath(name));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    ExpectSameImages(ReadIcoImages(bytes), ReadWithQt(bytes));
  }
  // Every depth an icon may have. Below 32 bits, and for 32-bit colours that
  // carry no alpha at all, the mask decides what is clear, as the icon format
  // has it (Qt's plugin leaves those two cases solid, or clear throughout).
  for (const auto& [bits, alpha] :
       {std::pair{1, false}, {4, false}, {8, false}, {24, false}, {32, true}, {32, false}}) {
    SCOPED_TRACE("bits " + std::to_string(bits) + (alpha ? ", alpha" : ", mask"));
    const QImage source = Sample(alpha, bits == 1 ? 2 : 4);
    QImage expected = source;
    for (int y = 0; !alpha && y < expected.height(); ++y)
      for (int x = 0; x < expected.width(); ++x) {
        const QRgb p = expected.pixel(x, y);
        expected.setPixel(x, y, qRgba(qRed(p), qGreen(p), qBlue(p), qAlpha(p) < 128 ? 0 : 255));
      }
    ExpectSameImages(ReadIcoImages(IcoOf(source, bits, alpha)), {expected});
  }
}

TEST(PictureFiles, ADamagedIconIsNoPictureAndNeverReadPastItsEnd) {
  const QByteArray good = IcoOf(Sample(false), 8);
  ASSERT_EQ(ReadIcoImages(good).size(), 1U);
  const auto with = [&good](int at, char value) {
    QByteArray bytes = good;
    bytes[at] = value;
    return bytes;
  };
  // Cut short anywhere; a cursor file; no images; an image past the end; a
  // run-length bitmap, which icons never hold.
  for (const QByteArray& bytes :
       {QByteArray(), good.left(5), good.left(30), good.left(good.size() - 1), with(2, 2),
        with(4, 0), with(18, 0x7F), with(22 + 16, 1)}) {
    EXPECT_TRUE(ReadIcoImages(bytes).empty()) << bytes.size() << " bytes";
  }

  // Through a file: the damaged icon is no picture, a good one is.
  QTemporaryDir folder;
  const auto write = [&folder](const char* name, const QByteArray& bytes) {
    QFile file(folder.filePath(QString::fromLatin1(name)));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return file.fileName();
  };
  EXPECT_TRUE(ReadPictureFile(write("bad.ico", good.left(40))).isNull());
  EXPECT_TRUE(ReadIconFile(write("bad2.ico", with(18, 0x7F))).isNull());
  EXPECT_EQ(ReadPictureFile(write("good.ico", good)).size(), QSize(13, 9));
  EXPECT_FALSE(ReadIconFile(folder.filePath(QStringLiteral("good.ico"))).isNull());
  EXPECT_TRUE(ReadPictureFile(folder.filePath(QStringLiteral("missing.ico"))).isNull());
}

}  // namespace
}  // namespace vellix::qtview
