#include "view/qt/picture_files.h"

#include <QFile>
#include <QImageReader>
#include <QPixmap>
#include <cstdint>
#include <optional>

namespace vellix::qtview {

namespace {

// Icon files larger than this are not the panel's icons; Qt may try them.
constexpr qint64 kMaxIcoBytes = qint64{4} * 1024 * 1024;

uint32_t Le(const QByteArray& bytes, qsizetype at, int size) {
  uint32_t value = 0;
  for (int i = size - 1; i >= 0; --i)
    value = (value << 8) | static_cast<uint8_t>(bytes[at + i]);
  return value;
}

bool IsIcoFile(const QString& path) {
  return path.endsWith(QStringLiteral(".ico"), Qt::CaseInsensitive);
}

// One bitmap image of an icon: a BITMAPINFOHEADER, the palette, the colour
// rows bottom up, then the 1-bit mask rows (1 = transparent), rows padded to
// four bytes.
std::optional<QImage> ReadBitmap(const QByteArray& bytes, qsizetype start, qsizetype size) {
  if (size < 40) return std::nullopt;
  const uint32_t headerSize = Le(bytes, start, 4);
  const auto width = static_cast<int32_t>(Le(bytes, start + 4, 4));
  const auto doubleHeight = static_cast<int32_t>(Le(bytes, start + 8, 4));
  const uint32_t bits = Le(bytes, start + 14, 2);
  const uint32_t compression = Le(bytes, start + 16, 4);
  const uint32_t coloursUsed = Le(bytes, start + 32, 4);
  const int height = doubleHeight / 2;
  if (headerSize < 40 || headerSize > size || width <= 0 || width > 1024 || height <= 0 ||
      height > 1024 || compression != 0) {
    return std::nullopt;
  }
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32) return std::nullopt;
  const uint32_t paletteSize = bits <= 8 ? (coloursUsed != 0 ? coloursUsed : 1U << bits) : 0;
  if (paletteSize > 256) return std::nullopt;
  const qsizetype colourStride = (static_cast<qsizetype>(width) * bits + 31) / 32 * 4;
  const qsizetype maskStride = (static_cast<qsizetype>(width) + 31) / 32 * 4;
  const qsizetype palette = start + headerSize;
  const qsizetype colours = palette + static_cast<qsizetype>(paletteSize) * 4;
  const qsizetype mask = colours + colourStride * height;
  if (mask + maskStride * height > start + size) return std::nullopt;

  QImage image(width, height, QImage::Format_ARGB32);
  bool anyAlpha = false;
  for (int y = 0; y < height; ++y) {
    const qsizetype row = colours + colourStride * (height - 1 - y);
    auto* out = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < width; ++x) {
      if (bits == 32) {
        const qsizetype p = row + qsizetype{x} * 4;
        const int alpha = static_cast<uint8_t>(bytes[p + 3]);
        anyAlpha = anyAlpha || alpha != 0;
        out[x] = qRgba(static_cast<uint8_t>(bytes[p + 2]), static_cast<uint8_t>(bytes[p + 1]),
                       static_cast<uint8_t>(bytes[p]), alpha);
      } else if (bits == 24) {
        const qsizetype p = row + qsizetype{x} * 3;
        out[x] = qRgb(static_cast<uint8_t>(bytes[p + 2]), static_cast<uint8_t>(bytes[p + 1]),
                      static_cast<uint8_t>(bytes[p]));
      } else {
        const qsizetype bit = static_cast<qsizetype>(x) * bits;
        const auto byte = static_cast<uint8_t>(bytes[row + bit / 8]);
        const uint32_t index = (byte >> (8 - bits - bit % 8)) & ((1U << bits) - 1);
        if (index >= paletteSize) return std::nullopt;
        const qsizetype p = palette + qsizetype{index} * 4;
        out[x] = qRgb(static_cast<uint8_t>(bytes[p + 2]), static_cast<uint8_t>(bytes[p + 1]),
                      static_cast<uint8_t>(bytes[p]));
      }
    }
  }
  // The mask makes pixels clear, unless the colours carry an alpha of their own.
  if (!anyAlpha) {
    for (int y = 0; y < height; ++y) {
      const qsizetype row = mask + maskStride * (height - 1 - y);
      auto* out = reinterpret_cast<QRgb*>(image.scanLine(y));
      for (int x = 0; x < width; ++x) {
        const bool clear = (static_cast<uint8_t>(bytes[row + x / 8]) >> (7 - x % 8)) & 1;
        out[x] = clear ? qRgba(qRed(out[x]), qGreen(out[x]), qBlue(out[x]), 0)
                       : qRgba(qRed(out[x]), qGreen(out[x]), qBlue(out[x]), 255);
      }
    }
  }
  return image;
}

}  // namespace

std::vector<QImage> ReadIcoImages(const QByteArray& bytes) {
  // The directory: reserved 0, type 1 (icon), count, then 16 bytes an image.
  if (bytes.size() < 6 || Le(bytes, 0, 2) != 0 || Le(bytes, 2, 2) != 1) return {};
  const uint32_t count = Le(bytes, 4, 2);
  if (count == 0 || 6 + static_cast<qsizetype>(count) * 16 > bytes.size()) return {};
  std::vector<QImage> images;
  for (uint32_t i = 0; i < count; ++i) {
    const qsizetype entry = 6 + static_cast<qsizetype>(i) * 16;
    const qsizetype size = Le(bytes, entry + 8, 4);
    const qsizetype offset = Le(bytes, entry + 12, 4);
    if (offset < 6 || size <= 0 || offset > bytes.size() || size > bytes.size() - offset) return {};
    std::optional<QImage> image;
    if (bytes.mid(offset, 8) == QByteArray("\x89PNG\r\n\x1a\n", 8)) {
      QImage png = QImage::fromData(bytes.mid(offset, size), "PNG");
      if (!png.isNull()) image = std::move(png);
    } else {
      image = ReadBitmap(bytes, offset, size);
    }
    if (!image) return {};
    images.push_back(std::move(*image));
  }
  return images;
}

namespace {

// The images of an icon file read here; empty for other files, and for icon
// files this reader can't take (Qt then has its try).
std::vector<QImage> ReadIcoFile(const QString& path) {
  if (!IsIcoFile(path)) return {};
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly) || file.size() > kMaxIcoBytes) return {};
  return ReadIcoImages(file.readAll());
}

}  // namespace

QImage ReadPictureFile(const QString& path) {
  const std::vector<QImage> images = ReadIcoFile(path);
  return images.empty() ? QImageReader(path).read() : images.front();
}

QIcon ReadIconFile(const QString& path) {
  QIcon icon;
  for (const QImage& image : ReadIcoFile(path))
    icon.addPixmap(QPixmap::fromImage(image));
  if (!icon.isNull()) return icon;
  const QImage image = QImageReader(path).read();
  return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
}

}  // namespace vellix::qtview
