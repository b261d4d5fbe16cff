#pragma once

#include <span>
#include <vector>

#include "base/numbers.h"

namespace quern {

struct Session;

// One vertex of a polyline as the generaliser takes it: a polyline travels
// as one block of these, 24 bytes each.
struct Vertex {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;  // read only in the spatial run
};
static_assert(sizeof(Vertex) == 24, "a polyline is handed over as a block of 24-byte vertices");

// Douglas-Peucker line simplification, iterative over an explicit stack of
// index ranges, so a chain of any length costs no call depth. All lists run
// from index 1; index 0 is never used.
class clsGeneralize {
 public:
  clsGeneralize();

  Int32 MaxDepth() const { return maxDepth; }
  Int32 Iterations() const { return iterations; }
  // Takes a copy of the polyline as vertices 1 to n.
  void setPolyline(std::span<const Vertex> polyline);
  // True for each vertex that stays, at indices 1 to n, after Generalize.
  const std::vector<bool>& keptVertices() const { return kept; }

  // The byte interface of the class, for callers that hand over a block:
  // lByteLen / 24 vertices (whole ones only) from lPtr; and the result
  // copied into a list that, despite its name, is True for a vertex that stays.
  void LetPolyline(const void* lPtr, Int32 lByteLen);
  void GetResult(std::vector<bool>& blDeletedVertices) const { blDeletedVertices = kept; }
  // 1 if it ran, 0 when there is no vertex. A vertex exactly at the
  // tolerance is dropped; tolerance 0 takes its limit from the first range
  // that has a real distance.
  Int32 Generalize(double dTolerance = 0.0, bool bl3D = false);

 private:
  void GeneralizeFlat(double tolerance);
  void GeneralizeSpatial(double tolerance);
  template <bool Spatial>
  void run(double tolerance);
  bool StackIsEmpty() const { return stackTop <= stackBase; }
  void PopRange(Int32& first, Int32& last);
  void PushRange(Int32 first, Int32 last);

  std::vector<Vertex> points;
  std::vector<Int32> rangeFirst;
  std::vector<Int32> rangeLast;
  Int32 stackTop = 0;
  Int32 stackBase = 0;
  Int32 maxDepth = 0;
  Int32 iterations = 0;
  std::vector<bool> kept;
};

// Simplifies the polyline in PolyBuffer slot 0 into slot 1 with the
// tolerance GeneralizeTolerance / twipsPerPixelX. An empty slot 0 leaves
// slot 1 as it was; a call while one runs returns at once.
void simplifyPolyBuffer(Session& session, Int32 twipsPerPixelX);

}  // namespace quern
