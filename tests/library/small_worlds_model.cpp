#include "tests/library/small_worlds_model.h"

#include <algorithm>
#include <sstream>

namespace packetdb::test {

namespace {

template <class T>
bool Within(T value, T from, T to) {
  if (to != 0) return from <= value && value <= to;
  return from == 0 || from == value;
}

bool SourceMeets(const Query& query, std::uint32_t ip, std::uint16_t port) {
  return Within(ip, query.m_IpSrcFrom, query.m_IpSrcTo) &&
         Within(port, query.m_PortSrcFrom, query.m_PortSrcTo);
}

bool DestinationMeets(const Query& query, std::uint32_t ip, std::uint16_t port) {
  return Within(ip, query.m_IpDstFrom, query.m_IpDstTo) &&
         Within(port, query.m_PortDstFrom, query.m_PortDstTo);
}

}  // namespace

bool ModelEndpoints(const Query& query, const CDrvErrorItemV4& record) {
  if (SourceMeets(query, record.m_SrcIp, record.m_SrcPort) &&
      DestinationMeets(query, record.m_DstIp, record.m_DstPort)) {
    return true;
  }
  return query.m_Direction == 1 && SourceMeets(query, record.m_DstIp, record.m_DstPort) &&
         DestinationMeets(query, record.m_SrcIp, record.m_SrcPort);
}

Positions ModelSelection(const Records& journal, const Query& query, std::int64_t window) {
  const std::int64_t start = query.m_TimeStart - TIME_1980_OFFSET;
  const std::int64_t end = query.m_TimeEnd - TIME_1980_OFFSET;
  Positions selected;
  std::uint32_t i = 0;
  while (i < journal.size() && journal[i].m_FirstTime < start - window) ++i;
  for (; i < journal.size() && journal[i].m_LastTime <= end + window; ++i) {
    const bool meets = journal[i].m_FirstTime <= end && journal[i].m_LastTime >= start;
    if (meets && ModelEndpoints(query, journal[i])) selected.push_back(i);
  }
  std::reverse(selected.begin(), selected.end());
  if (query.m_RecCount != 0 && selected.size() > query.m_RecCount) {
    selected.resize(query.m_RecCount);
  }
  return selected;
}

std::string Describe(const Query& query) {
  std::ostringstream text;
  text << "from " << query.m_TimeStart - TIME_1980_OFFSET << " to "
       << query.m_TimeEnd - TIME_1980_OFFSET << ", limit " << query.m_RecCount << ", direction "
       << +query.m_Direction << ", source " << query.m_IpSrcFrom << "-" << query.m_IpSrcTo << ":"
       << query.m_PortSrcFrom << "-" << query.m_PortSrcTo << ", destination " << query.m_IpDstFrom
       << "-" << query.m_IpDstTo << ":" << query.m_PortDstFrom << "-" << query.m_PortDstTo;
  return text.str();
}

std::string Describe(const Records& journal) {
  std::string text;
  for (const Event& record : journal) text += Text(record) + "\n";
  return text;
}

}  // namespace packetdb::test
