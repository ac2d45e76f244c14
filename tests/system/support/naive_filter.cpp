#include "tests/system/support/naive_filter.h"

#include <algorithm>
#include <map>
#include <set>

namespace packetdb::host::test {

namespace {

struct Side {
  std::uint32_t node, address;
  std::uint16_t port;
};

struct Criterion {
  std::uint32_t node, first_address, last_address;
  std::uint16_t first_port, last_port;
};

// A last value of 0 makes the first one stand alone, and then 0 means any.
template <class T>
bool Within(T value, T first, T last) {
  if (last == 0) {
    return first == 0 || value == first;
  }
  return first <= value && value <= last;
}

bool Meets(const Side& side, const Criterion& wanted) {
  return (wanted.node == 0 || side.node == wanted.node) &&
         Within(side.address, wanted.first_address, wanted.last_address) &&
         Within(side.port, wanted.first_port, wanted.last_port);
}

bool EndpointsMatch(const Query& q, const CDrvErrorItemV4& event) {
  const Side source{event.m_SrcId, event.m_SrcIp, event.m_SrcPort};
  const Side destination{event.m_DstId, event.m_DstIp, event.m_DstPort};
  const Criterion from{q.m_IdSrc, q.m_IpSrcFrom, q.m_IpSrcTo, q.m_PortSrcFrom, q.m_PortSrcTo};
  const Criterion to{q.m_IdDst, q.m_IpDstFrom, q.m_IpDstTo, q.m_PortDstFrom, q.m_PortDstTo};
  const bool there = Meets(source, from) && Meets(destination, to);
  const bool back = Meets(destination, from) && Meets(source, to);
  return there || (q.m_Direction == 1 && back);
}

bool TimesMatch(const Query& query, const CDrvErrorItemV4& event) {
  const std::int64_t first = std::int64_t{event.m_FirstTime} + TIME_1980_OFFSET;
  const std::int64_t last = std::int64_t{event.m_LastTime} + TIME_1980_OFFSET;
  return first <= query.m_TimeEnd && last >= query.m_TimeStart;
}

// A bit that is both wanted and unwanted asks for nothing.
bool FlagsMatch(const Query& query, const CDrvErrorItemV4& event) {
  constexpr std::uint32_t kTwins = 0x00800000 | 0x01000000;
  const std::uint32_t contradictory = query.m_FlagsWanted & query.m_FlagsNotWanted;
  std::uint32_t flags = event.m_Flags;
  if ((flags & kTwins) != 0) {
    flags |= kTwins;
  }
  return (query.m_FlagsWanted & ~contradictory & ~flags) == 0 &&
         (query.m_FlagsNotWanted & ~contradictory & flags) == 0;
}

bool ProtocolMatches(const Query& query, std::uint8_t protocol) {
  const std::set<int> common = {1, 6, 17};
  const auto meets = [&](int wanted) {
    return wanted == protocol || wanted == 0 || (wanted == 255 && common.count(protocol) == 0);
  };
  return query.m_Protocols.empty() ||
         std::any_of(query.m_Protocols.begin(), query.m_Protocols.end(), meets);
}

using Codes = std::set<std::uint32_t>;

Codes Union(const std::vector<Codes>& parts) {
  Codes all;
  for (const Codes& part : parts) {
    all.insert(part.begin(), part.end());
  }
  return all;
}

Codes Span(std::uint32_t first, std::uint32_t last) {
  Codes codes;
  for (std::uint32_t code = first; code <= last; ++code) {
    codes.insert(code);
  }
  return codes;
}

// The groups written out, those of groups included.
const std::map<int, Codes>& Groups() {
  static const std::map<int, Codes> groups = [] {
    std::map<int, Codes> g;
    g[-3] = Union({Span(1, 5), Span(7, 10), Span(13, 19), {26, 70, 118}});
    g[-4] = Union({Span(20, 24), Span(30, 33), Span(37, 39)});
    g[-6] = {40, 41, 44, 45};
    g[-7] = Union({Span(60, 65), {67}});
    g[-8] = Union({Span(80, 95), Span(97, 105), Span(111, 113), Span(129, 137), {139, 142, 147}});
    g[-14] = Union({Span(46, 49), {42, 110}});
    g[-15] = Union({Span(114, 117), Span(119, 122)});
    g[-2] = Union({g[-3], g[-4], g[-8]});
    g[-5] = Union({g[-6], g[-7]});
    g[-1] = Union({g[-2], g[-5], g[-8], g[-14]});
    return g;
  }();
  return groups;
}

bool CodeMatches(const Query& query, std::uint32_t code) {
  if (query.m_Errcodes.empty() || query.m_Errcodes.front() == -1) {
    return true;
  }
  const auto end = std::find(query.m_Errcodes.begin(), query.m_Errcodes.end(), 0);
  return std::any_of(query.m_Errcodes.begin(), end, [code](int entry) {
    const auto group = Groups().find(entry);
    return group == Groups().end() ? entry > 0 && static_cast<std::uint32_t>(entry) == code
                                   : group->second.count(code) != 0;
  });
}

}  // namespace

bool Selects(const Query& query, const CDrvErrorItemV4& event) {
  return TimesMatch(query, event) && EndpointsMatch(query, event) && FlagsMatch(query, event) &&
         ProtocolMatches(query, event.m_Protocol) && CodeMatches(query, event.m_ErrorCode);
}

std::vector<std::string> NaiveAnswer(const Query& query, const std::string& group,
                                     const std::vector<SeenEvent>& journal) {
  const std::string name = query.m_Interface;
  std::vector<std::string> rows;
  for (const SeenEvent& seen : journal) {
    if ((name == group || name == seen.interface) && Selects(query, seen.event)) {
      rows.push_back(Served(seen.event));
    }
  }
  std::reverse(rows.begin(), rows.end());
  if (query.m_RecCount != 0 && query.m_RecCount < rows.size()) {
    rows.resize(query.m_RecCount);
  }
  return rows;
}

}  // namespace packetdb::host::test
