#include "app/form1.h"
#include "vector/chains.h"
#include "vector/generalize.h"
#include "vector/normalize.h"

namespace quern {

void Form1::Command11_Click() {
  session.LineTable.count() = 0;
  IPCT.setPicture(IPC3.picture());
  IPCT.thin(session.LineTable);
  const auto w = static_cast<float>(IPCT.picwidth());
  const auto h = static_cast<float>(IPCT.picheight());
  Picture1.setScaleWidth(w);
  Picture1.setScaleHeight(h);
  Picture1.PaintPicture(IPCT.picture(), 0.0F, 0.0F, w, h);
  ChangeStats();
  if (Check1.isSet()) Command2_Click();
}

void Form1::Command2_Click() {
  PB(3).Value = 0.0F;
  BuildChains(session, *this);
  ChangeStats();
  if (Check1.isSet()) Command5_Click();
}

void Form1::Command5_Click() {
  const std::optional<Int32> tolerance = readTolerance();
  if (!tolerance) return;
  Picture1.setPicture(nullptr);
  Picture1.Cls();
  session.GeneralizeTolerance = *tolerance;
  session.LastPolyBound = 0;
  NormalizePass(session, TwipsPerPixelX());
  Picture1.Cls();
  const auto w = static_cast<float>(IPC2.picwidth());
  const auto h = static_cast<float>(IPC2.picheight());
  Picture1.setScaleWidth(w);
  Picture1.setScaleHeight(h);
  Picture1.PaintPicture(IPCH.picture(), 0.0F, 0.0F, w, h);
  const RecordTable& table = session.ChainTable;
  for (Int32 i = 1; i <= table.count(); ++i) {
    Picture1.Line(table[i].x1, table[i].y1, table[i].x2, table[i].y2, kRed);
  }
  ChangeStats();
}

void Form1::Command6_Click() {
  normalizeAsOnePolyline(session, TwipsPerPixelX());
  Picture1.Cls();
  session.GeneralizeTolerance = sub32(session.GeneralizeTolerance, 1);
  const RecordTable& table = session.ChainTable;
  for (Int32 i = 1; i <= table.count(); ++i) {
    Picture1.Line(table[i].x1, table[i].y1, table[i].x2, table[i].y2);
  }
}

void Form1::Command7_Click() {
  Picture2.Cls();
  fanFromGeneralized(session);
}

void Form1::DoGeneralize_Click() {
  simplifyPolyBuffer(session, TwipsPerPixelX());
}

}  // namespace quern
