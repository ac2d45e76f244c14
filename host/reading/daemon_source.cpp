#include "host/reading/daemon_source.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

#include "host/bus/commands.h"
#include "host/journals/names.h"
#include "host/reading/ask_names.h"
#include "host/reading/query_exchange.h"
#include "host/reading/row_labels.h"
#include "host/reading/told_objects.h"

namespace packetdb::host {

namespace {

// What the daemon says of the names that a query may carry.
struct ToldName {
  std::string name;
  std::string group;
  bool is_group = false;
  bool is_served = false;
  SourceFacts facts;  // of a group
};

SourceFacts FactsIn(const ToldObject& object) {
  SourceFacts facts;
  facts.oldest = NumberUnder(object, "oldest_unix");
  facts.newest = NumberUnder(object, "newest_unix");
  facts.records = NumberUnder(object, "records");
  facts.changes = NumberUnder(object, "changes");
  const std::int64_t window = NumberUnder(object, "window_seconds").value_or(facts.window_seconds);
  facts.window_seconds = static_cast<long>(std::max<std::int64_t>(window, 0));
  return facts;
}

ReadResult AskForToldNames(Connection& connection, std::vector<ToldName>* names) {
  return AskForObjects(
      connection, kCommandJournals, [&](std::string_view kind, const ToldObject& object) {
        const bool is_group = kind == "group";
        if (is_group || kind == "interface") {
          const std::string name = TextUnder(object, "name").value_or("");
          names->push_back({name, TextUnder(object, "journal").value_or(name), is_group,
                            TruthUnder(object, "served"), FactsIn(object)});
        }
      });
}

const ToldName* Find(const std::vector<ToldName>& names, const std::string& name) {
  const auto found = std::find_if(names.begin(), names.end(), [&name](const ToldName& told) {
    return told.name == name && told.is_served;
  });
  return found == names.end() ? nullptr : &*found;
}

// False, with the whole what the part is, when that was the end of it.
bool Join(ReadResult part, ReadResult* whole) {
  if (!part.ok()) {
    *whole = std::move(part);
    return false;
  }
  if (part.cut_at && (!whole->cut_at || *part.cut_at > *whole->cut_at)) {
    whole->cut_at = part.cut_at;
  }
  return true;
}

ReadResult Give(const std::vector<Row>& rows, ReadResult result, const RowSink& sink) {
  result.outcome = rows.empty() ? ReadOutcome::kNothing : ReadOutcome::kDone;
  if (!std::all_of(rows.begin(), rows.end(), sink)) {
    result.outcome = ReadOutcome::kStopped;
  }
  return result;
}

RowSink InsertInto(std::vector<Row>* rows) {
  return [rows](const Row& row) {
    rows->push_back(row);
    return true;
  };
}

}  // namespace

DaemonSource::DaemonSource(Connector connect, std::string name, InterfaceChoice choice)
    : connect_(std::move(connect)), name_(std::move(name)), choice_(std::move(choice)) {}

// A connection that was there before may have broken since, for which the exchange is not to blame:
// a second one is worth a try.
ReadResult DaemonSource::WithConnection(const Exchange& exchange) {
  for (;;) {
    const bool is_new = connection_ == nullptr;
    BusFailure failure;
    if (is_new && (connection_ = connect_(&failure)) == nullptr) {
      return {ReadOutcome::kUnreachable, failure.text};
    }
    ReadResult result = exchange(*connection_);
    if (!connection_->sound() || result.outcome == ReadOutcome::kStopped) {
      connection_.reset();
    }
    if (is_new || result.outcome != ReadOutcome::kLost) {
      return result;
    }
  }
}

ReadResult DaemonSource::Describe(SourceFacts* facts) {
  std::vector<ToldName> names;
  ReadResult result = WithConnection([&names](Connection& connection) {
    names.clear();
    return AskForToldNames(connection, &names);
  });
  if (!result.ok()) {
    return result;
  }
  SourceFacts found;
  const ToldName* const own = Find(names, name_);
  is_interface_ = own != nullptr && !own->is_group;
  const std::string group = own != nullptr ? own->group : name_;
  served_.clear();
  for (const ToldName& told : names) {
    if (told.is_group && told.name == group) {
      found = told.facts;
    } else if (!told.is_group && told.is_served && told.group == group) {
      served_.insert(*known_.insert(told.name).first);
    }
  }
  is_described_ = true;
  *facts = found;
  return result;
}

ReadResult DaemonSource::Read(const Query& query, const RowSink& sink) {
  if (!choice_.Matters()) {
    return ReadName(query, name_, {}, sink);
  }
  SourceFacts ignored;
  if (ReadResult result = is_described_ ? ReadResult() : Describe(&ignored); !result.ok()) {
    return result;
  }
  if (is_interface_) {
    return choice_.Takes(name_) ? ReadName(query, name_, name_, sink)
                                : ReadResult{ReadOutcome::kNothing};
  }
  return choice_.patterns.empty() ? ReadLabelled(query, sink) : ReadMerged(query, sink);
}

// Once a row was given, there is no second try.
ReadResult DaemonSource::ReadName(const Query& query, const std::string& name,
                                  std::string_view interface, const RowSink& sink) {
  if (name.size() > kLongestName) {
    return {ReadOutcome::kNoSuchName,
            fmt::format("no journal or interface can be called '{}'", name)};
  }
  Query asked = query;
  std::fill(std::begin(asked.m_Interface), std::end(asked.m_Interface), '\0');
  name.copy(asked.m_Interface, kLongestName);
  bool has_given = false;
  ReadResult result;
  return WithConnection([&](Connection& connection) {
    if (!has_given) {
      result = ExchangeQuery(connection, asked, interface, [&](const Row& row) {
        has_given = true;
        return sink(row);
      });
    }
    return result;
  });
}

// Those that were not read yet.
ReadResult DaemonSource::ReadInterfaces(const Query& query, std::set<std::string_view>* read,
                                        const RowSink& sink) {
  ReadResult whole;
  for (const std::string_view interface : served_) {
    if (choice_.Takes(interface) && read->insert(interface).second &&
        !Join(ReadName(query, std::string(interface), interface, sink), &whole)) {
      break;
    }
  }
  return whole;
}

ReadResult DaemonSource::ReadMerged(const Query& query, const RowSink& sink) {
  std::set<std::string_view> read;
  std::vector<Row> rows;
  ReadResult result = ReadInterfaces(query, &read, InsertInto(&rows));
  if (read.empty()) {
    return {ReadOutcome::kNoSuchName, fmt::format("no interface of '{}' is called like {}", name_,
                                                  fmt::join(choice_.patterns, " or "))};
  }
  if (!result.ok()) {
    return result;
  }
  std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
    return a.event.m_FirstTime > b.event.m_FirstTime;
  });
  return Give(rows, result, sink);
}

// The group first: what comes in between is in the answers of interfaces only. A row that is in
// none of them may be of an interface that is new.
ReadResult DaemonSource::ReadLabelled(const Query& query, const RowSink& sink) {
  std::set<std::string_view> read;
  std::vector<Row> rows;
  ReadResult result = ReadName(query, name_, {}, InsertInto(&rows));
  RowLabels labels;
  SourceFacts ignored;
  for (bool may_have_more = result.ok() && !rows.empty(); may_have_more;) {
    ReadResult part = ReadInterfaces(query, &read, [&labels](const Row& row) {
      labels.Add(row);
      return true;
    });
    const std::size_t known = served_.size();
    if (part.ok() && !labels.Label(&rows)) {
      part = Describe(&ignored);
    }
    if (!part.ok()) {
      return part;
    }
    may_have_more = served_.size() > known;
  }
  return result.ok() ? Give(rows, result, sink) : result;
}

Names DaemonSource::AskNames() {
  Names names;
  WithConnection([&names](Connection& connection) {
    names = AskForNames(connection);
    return ReadResult();
  });
  return names;
}

}  // namespace packetdb::host
