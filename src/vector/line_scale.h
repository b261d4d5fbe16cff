#pragma once

#include "base/host.h"
#include "base/line_tables.h"
#include "surface/picture_box.h"

namespace quern {

struct Session;

// Strings the segments of ChainTable into one path: from the path's end the
// nearest free segment comes next, entered at its nearer end. Record 1 stays
// first; the count ends at the number of records that took part. When no
// record can be taken at all the pass ends at once, with a count of 1.
void ReorderPass(Session& session);

// The scale between the thinned picture and the original in the preview:
// the two widths divided in 64 bits, held in 32.
float previewFactor(double originalWidth, double thinnedWidth);

// Draws each record of the table, separators and the record past the last
// one included, as a red line scaled by factor, giving the interface eleven
// chances to run after each. Records past the end of the table are lost.
void DrawChainTable(const RecordTable& ChainTable, PictureBox& box, float factor, Host& host);

}  // namespace quern
