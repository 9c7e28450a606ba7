#pragma once

#include <QByteArray>
#include <QIcon>
#include <QImage>
#include <QString>
#include <vector>

namespace vellix::qtview {

// The pictures of the panel's files. Icon files are read here rather than
// through QImageReader: Qt's first image read looks through every image
// plugin installed and loads its icon plugin, a cost paid on the way to the
// first window for the panel's own icons. Other formats go through Qt.

// Every image of an icon file (bitmaps of 1, 4, 8, 24 or 32 bits with their
// masks, or PNG), in the file's order; empty when the bytes are not a whole,
// well-formed icon file.
std::vector<QImage> ReadIcoImages(const QByteArray& bytes);
// The first image of a picture file; a null image when it can't be read.
QImage ReadPictureFile(const QString& path);
// Every image of a picture file as one icon; a null icon when it can't be read.
QIcon ReadIconFile(const QString& path);

}  // namespace vellix::qtview
