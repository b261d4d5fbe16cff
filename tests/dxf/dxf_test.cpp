#include <gtest/gtest.h>

#include <string>

#include "dxf/dxf_writer.h"

namespace quern {
namespace {

TEST(WithDxfExtension, KeepsOnlyTheTwoSpellingsOfTheExtension) {
  const std::pair<const char*, const char*> cases[] = {
      {"plan", "plan.dxf"},         {"plan.dxf", "plan.dxf"}, {"plan.DXF", "plan.DXF"},
      {"plan.Dxf", "plan.Dxf.dxf"}, {".dxf", ".dxf"},         {"plan.dx", "plan.dx.dxf"},
  };
  for (const auto& [given, written] : cases) EXPECT_EQ(withDxfExtension(given), written) << given;
}

}  // namespace
}  // namespace quern
