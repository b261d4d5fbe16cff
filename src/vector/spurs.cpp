#include "vector/spurs.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <optional>
#include <unordered_map>
#include <vector>

namespace quern {

namespace {

struct Pixel {
  Int32 x = 0;
  Int32 y = 0;
  friend bool operator==(const Pixel&, const Pixel&) = default;
};

bool touching(Pixel a, Pixel b) {
  return std::abs(a.x - b.x) <= 1 && std::abs(a.y - b.y) <= 1;
}

// A chain as read from the table. Pruning only ever takes pixels off its
// ends, so what is left is the range first..last; an empty polyline (a
// separator standing alone) has no pixels and is written back as it was.
struct Chain {
  std::vector<Pixel> px;
  Int32 first = 0;
  Int32 last = -1;
  bool alive() const { return first < last; }
  Int32 length() const { return last - first + 1; }
  Int32 end(bool front) const { return front ? first : last; }
  bool isEnd(Int32 i) const { return i == first || i == last; }
};

struct PixelRef {
  Int32 chain;
  Int32 index;
};

std::optional<Int32> wholeNumber(float v) {
  if (!(std::fabs(v) <= 16777216.0F) || std::nearbyint(v) != v) return std::nullopt;
  return static_cast<Int32>(v);
}

// The chains of records 1 to count - 1, or nothing when the table is not in
// the form chain assembly leaves.
std::optional<std::vector<Chain>> readChains(const RecordTable& table) {
  std::vector<Chain> chains;
  Chain current;
  for (Int32 i = 1; i < table.count(); ++i) {
    const LineRecord& r = table[i];
    if (isSeparator(r)) {
      if (!current.px.empty()) current.last = static_cast<Int32>(current.px.size()) - 1;
      chains.push_back(std::move(current));
      current = Chain{};
      continue;
    }
    const auto x1 = wholeNumber(r.x1), y1 = wholeNumber(r.y1), x2 = wholeNumber(r.x2), y2 = wholeNumber(r.y2);
    if (!x1 || !y1 || !x2 || !y2) return std::nullopt;
    const Pixel start{*x1, *y1};
    if (!current.px.empty() && !(current.px.back() == start)) return std::nullopt;
    if (current.px.empty()) current.px.push_back(start);
    current.px.push_back({*x2, *y2});
  }
  if (!current.px.empty()) return std::nullopt;
  return chains;
}

class Pruner {
 public:
  Pruner(std::vector<Chain>& chains, Int32 minBranch, Int32 minChain)
      : chains_(chains), minBranch_(minBranch), minChain_(minChain), limit_(std::max(minBranch, minChain)) {
    for (Int32 c = 0; c < static_cast<Int32>(chains_.size()); ++c) {
      for (Int32 i = 0; i < static_cast<Int32>(chains_[c].px.size()); ++i) at_[key(chains_[c].px[i])].push_back({c, i});
    }
  }

  Int32 run() {
    Int32 removed = 0;
    for (bool changed = true; changed;) {
      changed = false;
      for (Int32 c = 0; c < static_cast<Int32>(chains_.size()); ++c) {
        for (const bool front : {true, false}) {
          if (!chains_[c].alive() || !isFree(c, chains_[c].end(front))) continue;
          const Walk w = walk(c, front);
          if (!w.prune || w.pixels == 0) continue;
          for (const Cut& cut : w.cuts) apply(cut);
          removed += w.pixels;
          changed = true;
        }
      }
    }
    return removed;
  }

  // The pixels of each line to write, in table order, with an empty list for
  // an empty polyline. Where a cut left a chain's end against one other
  // chain's end and nothing else, the spur was all that stood between them:
  // the two are written as one chain again, joined at the chain first in the
  // table. Chains taken out whole are missing.
  std::vector<std::vector<Pixel>> lines() {
    const auto n = chains_.size();
    std::vector<Int32> lineOf(n);
    std::vector<Line> joined(n);
    for (Int32 c = 0; c < static_cast<Int32>(n); ++c) {
      lineOf[c] = c;
      joined[c] = {{c, false}};
    }
    auto open = [&](End e) {
      const Line& l = joined[lineOf[e.chain]];
      return firstEnd(l) == e || lastEnd(l) == e;
    };
    for (const End e : cutEnds_) {
      if (!chains_[e.chain].alive() || !open(e)) continue;
      const Meeting m = meet(chains_[e.chain].px[chains_[e.chain].end(e.front)], {e.chain});
      if (m.kind != Meeting::Continues || lineOf[m.next.chain] == lineOf[e.chain] || !open(m.next)) continue;
      Line& a = joined[lineOf[e.chain]];
      Line& b = joined[lineOf[m.next.chain]];
      if (firstEnd(a) == e) turn(a);
      if (lastEnd(b) == m.next) turn(b);
      a.insert(a.end(), b.begin(), b.end());
      const Int32 keep = std::min(lineOf[e.chain], lineOf[m.next.chain]);
      Line both = std::move(a);
      a.clear();
      b.clear();
      for (const Piece& p : both) lineOf[p.chain] = keep;
      joined[keep] = std::move(both);
    }
    std::vector<std::vector<Pixel>> out;
    for (Int32 c = 0; c < static_cast<Int32>(n); ++c) {
      if (chains_[c].px.empty()) out.emplace_back();
      if (!chains_[c].alive() || lineOf[c] != c) continue;
      std::vector<Pixel>& px = out.emplace_back();
      for (const Piece& p : joined[c]) {
        const Chain& ch = chains_[p.chain];
        for (Int32 k = 0; k < ch.length(); ++k) px.push_back(ch.px[p.reversed ? ch.last - k : ch.first + k]);
      }
    }
    return out;
  }

 private:
  struct Cut {
    Int32 chain;
    bool front;
    Int32 pixels;
  };
  struct Walk {
    bool prune = false;
    std::vector<Cut> cuts;
    Int32 pixels = 0;
  };
  struct End {
    Int32 chain = -1;
    bool front = true;
    friend bool operator==(const End&, const End&) = default;
  };
  struct Meeting {
    enum Kind { Nothing, Continues, Junction } kind = Nothing;
    End next;
  };
  // A chain in a joined line, walked from its last pixel when reversed.
  struct Piece {
    Int32 chain;
    bool reversed;
  };
  using Line = std::deque<Piece>;

  static std::uint64_t key(Pixel p) {
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(p.x)) << 32) | static_cast<std::uint32_t>(p.y);
  }

  // Calls f for every pixel still in a chain that touches p, p's own place included.
  template <typename F>
  void forEachNear(Pixel p, F&& f) const {
    for (Int32 dx = -1; dx <= 1; ++dx) {
      for (Int32 dy = -1; dy <= 1; ++dy) {
        const auto found = at_.find(key({p.x + dx, p.y + dy}));
        if (found == at_.end()) continue;
        for (const PixelRef& r : found->second) {
          const Chain& ch = chains_[r.chain];
          if (ch.alive() && r.index >= ch.first && r.index <= ch.last) f(r);
        }
      }
    }
  }

  bool isFree(Int32 c, Int32 i) const {
    bool free = true;
    forEachNear(chains_[c].px[i], [&](PixelRef r) { free = free && r.chain == c; });
    return free;
  }

  static bool among(const std::vector<Int32>& v, Int32 c) { return std::find(v.begin(), v.end(), c) != v.end(); }

  // Follows the line from a free end of chain c, through chains met end to
  // end, to the first junction or to a free end again, counting its pixels.
  // Stops as soon as it is too long to be pruned either way.
  Walk walk(Int32 c, bool front) const {
    Walk w;
    std::vector<Int32> seen{c};
    for (;;) {
      const Chain& ch = chains_[c];
      const Int32 step = front ? 1 : -1;
      const Int32 far = ch.end(!front);
      for (Int32 k = 0, i = ch.end(front); i != far; ++k, i += step) {
        if (w.pixels + k >= limit_) return w;
        // Another chain's end against the middle: a junction. Its pixel is the
        // one of the run touching that end that lies nearest to it, the
        // farther one from the free end on a tie, as that one lies on the line.
        const std::optional<Pixel> end = otherEndNear(ch.px[i], seen);
        if (!end) continue;
        Int32 junction = i;
        for (Int32 j = i; j != far + step && touching(ch.px[j], *end); j += step) {
          if (distance2(ch.px[j], *end) <= distance2(ch.px[junction], *end)) junction = j;
        }
        if (junction == far) break;
        const Int32 cut = (junction - ch.end(front)) * step;
        w.cuts.push_back({c, front, cut});
        w.pixels += cut;
        w.prune = w.pixels < minBranch_;
        return w;
      }
      w.cuts.push_back({c, front, ch.length()});
      w.pixels += ch.length();
      if (w.pixels >= limit_) return w;
      // At the far end: nothing there, one chain going on end to end, or a junction.
      const Meeting m = meet(ch.px[far], seen);
      if (m.kind == Meeting::Nothing) {
        w.prune = w.pixels < minChain_ && touchesNothing(w, seen);
        return w;
      }
      if (m.kind == Meeting::Junction) {
        w.prune = w.pixels < minBranch_;
        return w;
      }
      c = m.next.chain;
      front = m.next.front;
      seen.push_back(c);
    }
  }

  // What touches pixel p besides the chains in seen: nothing, exactly one
  // chain by one of its ends (the line goes on there), or more: a junction.
  Meeting meet(Pixel p, const std::vector<Int32>& seen) const {
    Meeting m;
    Int32 other = -1;
    forEachNear(p, [&](PixelRef r) {
      if (among(seen, r.chain)) return;
      if (other >= 0 && r.chain != other) m.kind = Meeting::Junction;
      other = r.chain;
      const Chain& d = chains_[r.chain];
      if (m.kind == Meeting::Nothing && d.isEnd(r.index)) m = {Meeting::Continues, {r.chain, r.index == d.first}};
    });
    if (other >= 0 && m.kind == Meeting::Nothing) m.kind = Meeting::Junction;
    return m;
  }

  static Int32 distance2(Pixel a, Pixel b) { return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y); }

  // The end pixel of a chain not yet walked that touches p, if any.
  std::optional<Pixel> otherEndNear(Pixel p, const std::vector<Int32>& seen) const {
    std::optional<Pixel> end;
    forEachNear(p, [&](PixelRef r) {
      if (!end && !among(seen, r.chain) && chains_[r.chain].isEnd(r.index)) end = chains_[r.chain].px[r.index];
    });
    return end;
  }

  // No pixel of the walked line touches a chain outside it.
  bool touchesNothing(const Walk& w, const std::vector<Int32>& seen) const {
    bool alone = true;
    for (const Cut& cut : w.cuts) {
      const Chain& ch = chains_[cut.chain];
      for (Int32 i = ch.first; i <= ch.last && alone; ++i) {
        forEachNear(ch.px[i], [&](PixelRef r) { alone = alone && among(seen, r.chain); });
      }
    }
    return alone;
  }

  void apply(const Cut& cut) {
    Chain& ch = chains_[cut.chain];
    if (cut.pixels >= ch.length() - 1) {
      ch.last = ch.first - 1;  // one pixel left is no line
    } else if (cut.front) {
      ch.first += cut.pixels;
      cutEnds_.push_back({cut.chain, true});
    } else {
      ch.last -= cut.pixels;
      cutEnds_.push_back({cut.chain, false});
    }
  }

  static End firstEnd(const Line& l) { return {l.front().chain, !l.front().reversed}; }
  static End lastEnd(const Line& l) { return {l.back().chain, l.back().reversed}; }
  static void turn(Line& l) {
    std::reverse(l.begin(), l.end());
    for (Piece& p : l) p.reversed = !p.reversed;
  }

  std::vector<Chain>& chains_;
  Int32 minBranch_;
  Int32 minChain_;
  Int32 limit_;
  std::unordered_map<std::uint64_t, std::vector<PixelRef>> at_;
  std::vector<End> cutEnds_;
};

}  // namespace

Int32 pruneSpurs(RecordTable& LineTable, Int32 minBranch, Int32 minChain) {
  if (minBranch <= 0 && minChain <= 0) return 0;
  if (LineTable.count() < 1) return 0;
  std::optional<std::vector<Chain>> chains = readChains(LineTable);
  if (!chains) return 0;
  Pruner pruner(*chains, minBranch, minChain);
  const Int32 removed = pruner.run();
  if (removed == 0) return 0;

  const LineRecord past = LineTable[LineTable.count()];
  Int32 n = 0;
  for (const std::vector<Pixel>& px : pruner.lines()) {
    for (std::size_t k = 0; k + 1 < px.size(); ++k) {
      LineTable[++n] = {static_cast<float>(px[k].x), static_cast<float>(px[k].y), static_cast<float>(px[k + 1].x),
                        static_cast<float>(px[k + 1].y), 0};
    }
    LineTable[++n] = {kSeparator, kSeparator, kSeparator, kSeparator, 0};
  }
  LineTable[n + 1] = past;
  LineTable.count() = n + 1;
  return removed;
}

}  // namespace quern
