#include "base/numbers.h"

namespace quern {

void throwOutOfRange(const char* what, long long v, int bits) {
  throw OverflowError(std::string("Overflow: ") + what + " " + std::to_string(v) + " is outside the range of a " +
                      std::to_string(bits) + "-bit integer");
}

}  // namespace quern
