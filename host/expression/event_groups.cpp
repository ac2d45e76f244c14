#include "host/expression/event_groups.h"

#include <utility>

#include "packetdb/query.h"

namespace packetdb::host::expression {

IntervalSet CodesOfGroup(int group) {
  constexpr std::uint32_t kHighestGroupedCode = 1999;  // no rule can give a higher one
  if (group == kEveryCode) return IntervalSet::Everything(0xFFFFFFFF);
  Errcodes wanted;
  wanted.push_back(group);
  std::vector<Interval> codes;
  for (std::uint32_t code = 1; group < 0 && code <= kHighestGroupedCode; ++code) {
    if (wanted.match(code)) codes.push_back({code, code});
  }
  return IntervalSet(std::move(codes));
}

}  // namespace packetdb::host::expression
