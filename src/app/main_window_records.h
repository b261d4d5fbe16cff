#pragma once

#include <string>

#include "imgproc/property_bag.h"

namespace quern {

// The fixed records of the five picture controls of the main window, by
// instance name (IPCH, IPCT, IPC1, IPC2, IPC3). IPCH holds `defaultPicture`,
// the 700 by 557 picture shown until a file is loaded. Another name is an
// IndexError.
PropertyBag mainWindowRecord(const std::string& instance, const Picture& defaultPicture);

}  // namespace quern
