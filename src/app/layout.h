#pragma once

#include <span>
#include <string_view>

#include "base/numbers.h"

namespace quern {

enum class ControlKind { Frame, Label, TextBox, CheckBox, ScrollBar, ProgressBar, Button, PictureBox, Image, Surface };

// Where a control stands, in twips, relative to its parent (the window's
// client area when `parent` is empty), and what it shows at the start.
struct ControlPlace {
  std::string_view name;  // arrays as "Stat(3)", "PB(5)"
  ControlKind kind;
  std::string_view parent;
  Int32 left;
  Int32 top;
  Int32 width;
  Int32 height;
  std::string_view caption;
  bool visible = true;
};

inline constexpr Int32 kForm1ClientWidth = 10215;
inline constexpr Int32 kForm1ClientHeight = 6090;
inline constexpr Int32 kSplashClientWidth = 4140;
inline constexpr Int32 kSplashClientHeight = 3705;
inline constexpr Int32 kForm1BackColor = 0xC0C0C0;

inline constexpr std::string_view kForm1Caption = "Quern Centerline extractor";
inline constexpr std::string_view kSplashTitle = "Quernline v3.2";
inline constexpr std::string_view kSplashNotice = "Made by the Quernline team";

// Every control of the main window, parents before their children, in the
// order they stack (later ones on top).
std::span<const ControlPlace> form1Layout();
// The controls of the splash window.
std::span<const ControlPlace> splashLayout();
// The place of one control of the main window; throws IndexError for an unknown name.
const ControlPlace& form1Place(std::string_view name);

}  // namespace quern
