#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/numbers.h"
#include "surface/picture.h"

namespace quern {

// A font as the image box keeps it.
struct StdFont {
  std::string Name = "MS Sans Serif";
  float Size = 8.25F;
  bool Bold = false;
  bool Italic = false;
  bool Strikethru = false;
  bool Underline = false;
  bool operator==(const StdFont&) const = default;
};

// What a drag carries: data by format number, and file names.
struct DataObject {
  std::map<Int16, std::string> data;
  std::vector<std::string> Files;
};

// The image box members that this surface keeps without acting on them:
// fonts only matter to text measuring, and links and drag and drop belong to
// the platform. Defaults are those of a fresh box.
struct Picture1Extras {
  StdFont Font{"ARIAL", 8.0F};
  bool FontTransparent = true;
  Int16 BorderStyle = 0;
  Int16 Align = 0;
  Int16 Appearance = 1;
  Int16 LinkMode = 0;
  Int16 LinkTimeout = 50;
  Int16 MousePointer = 0;
  Int16 OLEDragMode = 0;
  Int16 OLEDropMode = 0;
  float ScaleLeft = 0.0F;
  float ScaleTop = 0.0F;
  bool CausesValidation = true;
  bool RightToLeft = false;
  std::string LinkItem;
  std::string LinkTopic;
  std::string ToolTipText;
  Picture MouseIcon;
};

// The events the control passes on from its image box. Arguments the host
// may change are references, so that the change reaches the box.
struct ImgProcEvents {
  std::function<void()> Click;  // declared, never raised
  std::function<void()> DblClick;
  std::function<void(Int16& KeyCode, Int16& Shift)> KeyDown;
  std::function<void(Int16& KeyAscii)> KeyPress;
  std::function<void(Int16& KeyCode, Int16& Shift)> KeyUp;
  std::function<void()> MouseDown;  // declared, never raised
  std::function<void(Int16 Button, Int16 Shift, float X, float Y)> MouseMove;
  std::function<void()> MouseUp;  // declared, never raised
  std::function<void()> Paint;
  std::function<void(Int32& Effect)> OLECompleteDrag;
  std::function<void(DataObject& Data, Int32& Effect, Int16& Button, Int16& Shift, float& X, float& Y)> OLEDragDrop;
  std::function<void(DataObject& Data, Int32& Effect, Int16& Button, Int16& Shift, float& X, float& Y, Int16& State)>
      OLEDragOver;
  std::function<void(Int32& Effect, bool& DefaultCursors)> OLEGiveFeedback;
  std::function<void(DataObject& Data, Int16& DataFormat)> OLESetData;
  std::function<void(DataObject& Data, Int32& AllowedEffects)> OLEStartDrag;
};

// The selection frame inside the image box.
struct SelectionFrame {
  bool Visible = false;
  float Left = 0.0F;
  float Top = 0.0F;
  float Width = 1.0F;
  float Height = 1.0F;
};

// A scroll bar as a value: its range, position and whether it can be used.
struct ScrollBarState {
  Int32 Min = 0;
  Int32 Max = 0;
  Int32 Value = 0;
  Int32 SmallChange = 1;
  Int32 LargeChange = 1;
  bool Enabled = true;
  bool Visible = true;
};

// Where an inner control sits in the control, in pixels.
struct Placement {
  float Left = 0.0F;
  float Top = 0.0F;
  float Width = 0.0F;
  float Height = 0.0F;
};

}  // namespace quern
