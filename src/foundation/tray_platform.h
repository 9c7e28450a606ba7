#pragma once

#include <string>

namespace vellix {

// The desktop's notification area, as the tray icon uses it: one icon, put
// there once, changed in place and taken away at the end.
//
// A picture is a text the view understands: what LoadPicture returned for an
// icon file, or a form's Icon() (its file or picture name). The empty text is
// no picture; a view shows its own blank icon for it.
//
// The mouse gestures on the icon are the view's to deliver: it passes them to
// the main form as Form::UserMouseMove with the callback's message number
// (512 + the gesture, in pixels) in x, the way the desktop disguises them.
//
// All calls come on the user-interface thread.
class TrayPlatform {
 public:
  virtual ~TrayPlatform() = default;

  // The picture of an icon file, loaded as a small icon in full colour. The
  // path is the logic's own path text (the executable's folder, a backslash,
  // the file name), mapped by the view as the file-system stand-in maps
  // paths. Gives "" when the file is missing or is no icon.
  virtual std::string LoadPicture(const std::string& path) = 0;

  // Puts the icon in the notification area with its picture and tip. The tip
  // is at most 63 bytes of UTF-8, a whole number of characters.
  virtual void Add(const std::string& picture, const std::string& tip) = 0;
  // Changes the picture of the icon in place; the tip goes with it.
  virtual void Modify(const std::string& picture, const std::string& tip) = 0;
  // Takes the icon away.
  virtual void Delete() = 0;

  // Whether the desktop has a notification area at all. Without one an icon
  // can't be found, so the main form minimises where it would hide.
  [[nodiscard]] virtual bool Available() const = 0;
};

}  // namespace vellix
