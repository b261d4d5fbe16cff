// The four values as typed text, then the Apply buttons and scroll bars in
// the order the input gives, on a small fixed drawing.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "app/controls.h"
#include "app/form1.h"
#include "fuzz_platform.h"

namespace {

quern::Picture drawing() {
  constexpr quern::Int32 w = 40;
  constexpr quern::Int32 h = 30;
  std::vector<quern::Colour> px(w * h, quern::kWhite);
  for (quern::Int32 i = 4; i < 36; ++i) {
    px[static_cast<std::size_t>(5 * w + i)] = px[static_cast<std::size_t>(6 * w + i)] = quern::kBlack;
    px[static_cast<std::size_t>((i % 26 + 2) * w + i)] = quern::kBlack;
  }
  for (quern::Int32 y = 4; y < 26; ++y) px[static_cast<std::size_t>(y * w + 20)] = quern::kBlack;
  return quern::makePicture(w, h, std::move(px));
}

// The surface size limit is not what this target looks for: a scale or a
// blur count far beyond its scroll bar would make one input take minutes.
bool withinReach(const quern::Form1& form) {
  const std::optional<double> scale = quern::readNumber(form.Text1.Text);
  const std::optional<quern::Int32> blur = quern::readWhole32(form.Text4.Text);
  return !(scale && (*scale > 4.0 || *scale < -4.0)) && !(blur && *blur > 4);
}

}  // namespace

// Input: the four texts separated by newlines, then one byte per request.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const quern::Picture picture = drawing();
  quern::Form1& form = quern::fuzz::formWith(picture);
  std::size_t pos = 0;
  for (quern::TextBox* box : {&form.Text1, &form.Text2, &form.Text3, &form.Text4}) {
    std::string text;
    while (pos < size && data[pos] != '\n') text += static_cast<char>(data[pos++]);
    ++pos;
    box->Text = text.substr(0, 40);
  }
  if (!withinReach(form)) return 0;
  static const char* const kButtons[] = {"Command8", "Command9", "Command10", "Command13", "Command14", "Command15"};
  static const char* const kBars[] = {"HScroll1", "HScroll2", "HScroll3", "HScroll6"};
  if (pos >= size) form.click("Command8");
  for (int requests = 0; pos < size && requests < 8; ++pos, ++requests) {
    const unsigned op = data[pos];
    if (op < 0x80) {
      form.click(kButtons[op % 6]);
      form.checkBox("Check1").Value = op >> 3 & 1;
      form.checkBox("Check3").Value = op >> 4 & 1;
    } else {
      const quern::Int32 value = pos + 1 < size ? data[++pos] : 1;
      form.scroll(kBars[op % 4], op & 0x40 ? value : value + 100);
    }
    if (!withinReach(form)) return 0;
  }
  if (form.stage() == 11) form.menu("exportimage");
  return 0;
}
