#include "app/main_window_records.h"

#include "base/errors.h"
#include "imgproc/control_record.h"

namespace quern {

PropertyBag mainWindowRecord(const std::string& instance, const Picture& defaultPicture) {
  if (instance == "IPCH") return controlRecord({defaultPicture, 700, 557, std::nullopt});
  if (instance == "IPC2") return controlRecord({nullptr, 1, 1, 0xC0C0C0});
  if (instance == "IPCT" || instance == "IPC1" || instance == "IPC3") return controlRecord({});
  throw IndexError("The main window has no picture control named " + instance);
}

}  // namespace quern
