#pragma once

#include <string>

#include "base/drawing_units.h"
#include "dxf/cad_dxf.h"
#include "dxf/dxf_groups.h"

namespace quern {

// The handles of an R2000 drawing's fixed frame; its entities are numbered
// from kFirstEntityHandle on, each owned by the model space's record.
inline constexpr unsigned kModelSpaceRecord = 0x1A;
inline constexpr unsigned kFirstEntityHandle = 0x100;

// The R2000 file round the entities (written with handles from
// kFirstEntityHandle up to, not including, `handseed`): header with the
// unit and the extents, tables, the two space blocks and the objects.
std::string r2000File(const DxfGroups& entities, unsigned handseed, const DrawingBox& box, DrawingUnit unit);

}  // namespace quern
