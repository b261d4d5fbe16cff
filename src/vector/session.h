#pragma once

#include <memory>
#include <string>

#include "base/line_tables.h"
#include "base/numbers.h"
#include "vector/generalize.h"

namespace quern {

// Everything that outlives one handler: the line tables, the point lists on
// their way through generalisation, and the few shared values. The form owns
// one and hands it down by reference; a test makes a fresh one in one line.
struct Session {
  RecordTable LineTable{"LineTable"}, ChainTable{"ChainTable"}, OrderTable{"OrderTable"};
  PolyBuffer polyBuffer;
  Int32 SplashTicks = 0;
  std::string PicturePath, PictureName;
  // Created by the form at load; DoGeneralize_Click makes one if it is still missing.
  std::unique_ptr<clsGeneralize> GeneralizeObject;
  Int32 GeneralizeTolerance = 0;  // twips; divided by the screen's twips per pixel
  bool GeneralizeBusy = false;
  bool GeneralizeIn3D = false;
  Int32 LastPolyBound = 0;
};

// The bare file name of a path: what follows the last separator of this
// platform, or the whole text when it holds none.
std::string FileName(const std::string& WithPath);

}  // namespace quern
