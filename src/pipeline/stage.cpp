#include "pipeline/stage.h"

namespace quern {

const char* stageName(Stage stage) {
  switch (stage) {
    case Stage::rescale:
      return "rescale";
    case Stage::blur:
      return "blur";
    case Stage::threshold:
      return "threshold";
    case Stage::thin:
      return "thin";
    case Stage::chain:
      return "chain";
    case Stage::simplify:
      return "simplify";
  }
  return "stage";
}

}  // namespace quern
