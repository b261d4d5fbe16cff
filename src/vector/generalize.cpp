#include "vector/generalize.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/errors.h"
#include "vector/session.h"

namespace quern {

clsGeneralize::clsGeneralize() : points(2) {}

void clsGeneralize::setPolyline(std::span<const Vertex> polyline) {
  points.resize(polyline.size() + 1);
  points[0] = Vertex{};
  std::copy(polyline.begin(), polyline.end(), points.begin() + 1);
}

void clsGeneralize::LetPolyline(const void* lPtr, Int32 lByteLen) {
  const Int32 n = lByteLen / static_cast<Int32>(sizeof(Vertex));
  if (n <= 0) {
    setPolyline({});
    return;
  }
  std::vector<Vertex> block(static_cast<std::size_t>(n));
  std::memcpy(block.data(), lPtr, block.size() * sizeof(Vertex));
  setPolyline(block);
}

Int32 clsGeneralize::Generalize(double dTolerance, bool bl3D) {
  const Int32 n = static_cast<Int32>(points.size()) - 1;
  if (n <= 0) {
    maxDepth = 0;
    iterations = 0;
    return 0;
  }
  const auto size = static_cast<std::size_t>(n) + 1;
  kept.assign(size, false);
  rangeFirst.assign(size, 0);
  rangeLast.assign(size, 0);
  stackBase = 0;
  stackTop = 1;
  rangeFirst[1] = 1;
  rangeLast[1] = n;
  maxDepth = 1;
  iterations = 1;
  kept[1] = true;
  kept[static_cast<std::size_t>(n)] = true;
  if (bl3D) {
    GeneralizeSpatial(dTolerance);
  } else {
    GeneralizeFlat(dTolerance);
  }
  return 1;
}

void clsGeneralize::GeneralizeFlat(double tolerance) {
  run<false>(tolerance);
}
void clsGeneralize::GeneralizeSpatial(double tolerance) {
  run<true>(tolerance);
}

template <bool Spatial>
void clsGeneralize::run(double tolerance) {
  double limit = tolerance * tolerance;
  Int32 split = 0;
  while (!StackIsEmpty()) {
    Int32 first = 0;
    Int32 last = 0;
    PopRange(first, last);
    const Vertex a = points[static_cast<std::size_t>(first)];
    const Vertex b = points[static_cast<std::size_t>(last)];
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double dz = Spatial ? b.z - a.z : 0.0;
    double best = 0.0;
    if (dx == 0.0 && dy == 0.0 && dz == 0.0) {
      // A closed range has no base line: measure against its first vertex
      // once the last one is left out.
      PushRange(first, last - 1);
    } else {
      for (Int32 i = first + 1; i <= last - 1; ++i) {
        const Vertex& p = points[static_cast<std::size_t>(i)];
        double d = 0.0;
        if constexpr (Spatial) {
          const double ca = (a.z - p.z) * dy - (a.y - p.y) * dz;
          const double cb = (a.z - p.z) * dx - (a.x - p.x) * dz;
          const double cc = (a.y - p.y) * dx - (a.x - p.x) * dy;
          d = ca * ca + cb * cb + cc * cc;
        } else {
          d = std::fabs((a.y - p.y) * dx - (a.x - p.x) * dy);
        }
        if (d > best) {  // strict: the lowest index wins a tie
          best = d;
          split = i;
        }
      }
      if constexpr (Spatial) {
        best = best / (dy * dy + dx * dx + dz * dz);
      } else {
        best = best * best / (dx * dx + dy * dy);
      }
      if (limit == 0.0) limit = best * best / 10000000000.0;
    }
    if (limit != 0.0 && best > limit) {
      kept[static_cast<std::size_t>(split)] = true;
      PushRange(first, split);
      PushRange(split, last);
    }
  }
}

void clsGeneralize::PopRange(Int32& first, Int32& last) {
  first = rangeFirst[static_cast<std::size_t>(stackTop)];
  last = rangeLast[static_cast<std::size_t>(stackTop)];
  --stackTop;
}

void clsGeneralize::PushRange(Int32 first, Int32 last) {
  if (last - first < 2) return;
  ++stackTop;
  // Each entry is a disjoint range of three or more vertices, so n entries
  // always suffice; the check guards the lists, not the algorithm.
  if (static_cast<std::size_t>(stackTop) >= rangeFirst.size()) {
    throw IndexError("Subscript out of range: generaliser stack entry " + std::to_string(stackTop));
  }
  rangeFirst[static_cast<std::size_t>(stackTop)] = first;
  rangeLast[static_cast<std::size_t>(stackTop)] = last;
  ++iterations;
  if (stackTop > maxDepth) maxDepth = stackTop;
}

void simplifyPolyBuffer(Session& session, Int32 twipsPerPixelX) {
  if (session.GeneralizeBusy) return;
  session.GeneralizeBusy = true;
  struct Release {
    bool& busy;
    ~Release() { busy = false; }
  } release{session.GeneralizeBusy};

  const PolyList& raw = session.polyBuffer[0];
  PolyList& result = session.polyBuffer[1];
  const Int32 n = raw.highest();
  if (n == 0) return;
  if (twipsPerPixelX == 0) throw OverflowError("Division by zero: the screen reports 0 twips per pixel");

  result = raw;
  std::vector<Vertex> vertices(static_cast<std::size_t>(n));
  for (Int32 i = 1; i <= n; ++i) {
    const PolyPoint p = raw[i];
    vertices[static_cast<std::size_t>(i - 1)] = {static_cast<double>(p.x), static_cast<double>(p.y),
                                                 static_cast<double>(add32(p.x, p.y)) / 2.0};
  }
  mul32(n, static_cast<Int32>(sizeof(Vertex)));  // the byte count of the block stays a 32-bit number
  if (!session.GeneralizeObject) session.GeneralizeObject = std::make_unique<clsGeneralize>();
  clsGeneralize& generaliser = *session.GeneralizeObject;
  generaliser.setPolyline(vertices);
  const double tolerance = static_cast<double>(session.GeneralizeTolerance) / static_cast<double>(twipsPerPixelX);
  const Int32 ran = generaliser.Generalize(tolerance, session.GeneralizeIn3D);
  const std::vector<bool>& keep = generaliser.keptVertices();
  if (ran == 0) return;
  Int32 m = 0;
  for (Int32 i = 1; i <= n; ++i) {
    if (keep[static_cast<std::size_t>(i)]) {
      ++m;
      result[m] = result[i];
    }
  }
  result.redimPreserve(m);
}

}  // namespace quern
