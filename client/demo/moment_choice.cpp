#include "client/demo/moment_choice.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>

CMomentChoice::CKind& CMomentChoice::KindOf(const CFrameHeader& header) {
  return kinds[header.frameType == ztlib::keyFrame         ? 2
               : header.frameType == ztlib::referenceFrame ? 1
                                                           : 0];
}

bool CMomentChoice::Wants(const CFrameHeader& header) {
  CKind& kind = KindOf(header);
  return kind.seen++ % kind.step == 0;
}

void CMomentChoice::Keep(const CFrameHeader& header, CMoment moment) {
  constexpr std::size_t mostKept = 8;
  CKind& kind = KindOf(header);
  moment.typeName = header.TypeName();
  kind.kept.push_back(std::move(moment));
  if (kind.kept.size() <= mostKept) return;
  // Every second one goes.
  for (std::size_t i = 1; i < kind.kept.size(); ++i)
    kind.kept.erase(kind.kept.begin() + std::ptrdiff_t(i));
  kind.step *= 2;
}

std::vector<CMoment> CMomentChoice::Finish(std::int64_t frames) {
  std::vector<CMoment> chosen;
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const std::int64_t target = frames * (2 * std::int64_t(i) + 1) / 6;
    std::vector<CMoment>* from = &kinds[i].kept;
    // What the clip does not have is stood in for by what it has most of.
    if (from->empty())
      from = &std::max_element(kinds.begin(), kinds.end(), [](const CKind& a, const CKind& b) {
                return a.kept.size() < b.kept.size();
              })->kept;
    const auto nearest =
        std::min_element(from->begin(), from->end(), [&](const CMoment& a, const CMoment& b) {
          return std::abs(a.index - target) < std::abs(b.index - target);
        });
    if (nearest == from->end()) break;
    chosen.push_back(std::move(*nearest));
    from->erase(nearest);
  }
  std::sort(chosen.begin(), chosen.end(),
            [](const CMoment& a, const CMoment& b) { return a.index < b.index; });
  return chosen;
}
