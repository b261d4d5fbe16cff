#include <gtest/gtest.h>

#include <string>

#include "dxf/dxf_writer.h"

namespace quern {
namespace {

TEST(DxfNumber, WritesTheShortestDecimalForm) {
  const std::pair<float, const char*> cases[] = {
      {0.0F, "0"}, {-0.0F, "0"}, {52.5F, "52.5"}, {-34.0F, "-34"}, {1000000.0F, "1000000"}, {0.0625F, "0.0625"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(dxfNumber(value), text) << value;
}

TEST(WithDxfExtension, KeepsOnlyTheTwoSpellingsOfTheExtension) {
  const std::pair<const char*, const char*> cases[] = {
      {"plan", "plan.dxf"},         {"plan.dxf", "plan.dxf"}, {"plan.DXF", "plan.DXF"},
      {"plan.Dxf", "plan.Dxf.dxf"}, {".dxf", ".dxf"},         {"plan.dx", "plan.dx.dxf"},
  };
  for (const auto& [given, written] : cases) EXPECT_EQ(withDxfExtension(given), written) << given;
}

}  // namespace
}  // namespace quern
