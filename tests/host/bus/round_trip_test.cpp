// Tables of random columns and values travel unchanged. The seed is printed; give it in
// PACKETDB_SEED to see a failure again.
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

struct TestColumn {
  unsigned int id;  // without bit 31
  bool integer;
  unsigned int size;
};

struct TestTable {
  std::vector<TestColumn> columns;
  std::vector<std::vector<std::string>> rows;  // per row, the bytes of each column in host order
  bool announced;
  bool marker;
};

class Generator {
 public:
  explicit Generator(unsigned int seed) : random_(seed) {}

  TestTable Table() {
    TestTable table;
    const unsigned int first = static_cast<unsigned int>(random_()) & 0x7FFFFF00U;
    for (unsigned int i = 0, count = Below(64) + 1; i < count; ++i) {
      table.columns.push_back(Column(first + i));
    }
    table.rows.resize(Below(5));
    for (auto& row : table.rows) {
      for (const TestColumn& column : table.columns) row.push_back(Bytes(column.size));
    }
    table.announced = Below(2) == 0;
    table.marker = !table.announced || Below(2) == 0;
    return table;
  }

 private:
  unsigned int Below(unsigned int bound) { return static_cast<unsigned int>(random_() % bound); }

  TestColumn Column(unsigned int id) {
    if (Below(2) == 0) return {id, true, 1U << Below(4)};
    return {id, false, 1 + (Below(20) == 0 ? Below(2000) : Below(40))};
  }

  std::string Bytes(unsigned int size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random_());
    return bytes;
  }

  std::mt19937_64 random_;
};

void Write(const TestTable& table, Message& message) {
  ASSERT_EQ(message.SetKind(kKindAnswer), 0);
  for (const TestColumn& column : table.columns) {
    ASSERT_EQ(message.AddColumn(column.id | (column.integer ? kIntegerBit : 0), column.size), 0);
  }
  message.SetRecordCount(table.announced ? static_cast<int>(table.rows.size()) : -1);
  message.SetMarkerFlag(table.marker ? 1 : 0);
  ASSERT_EQ(message.WriteHeader(), 0);
  for (const auto& row : table.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      ASSERT_EQ(message.SetValue(table.columns[i].id, row[i].data()), 0);
    }
    ASSERT_EQ(message.WriteRecord(), 0);
  }
  if (table.marker) {
    ASSERT_EQ(message.WriteMarker(), 0);
  }
}

void ExpectRow(const std::vector<TestColumn>& columns, const std::vector<std::string>& row,
               const Message& message) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    unsigned int size = 0;
    const char* bytes = static_cast<const char*>(message.GetRaw(columns[i].id, &size));
    ASSERT_NE(bytes, nullptr);
    ASSERT_EQ(std::string(bytes, size), row[i]);
    if (!columns[i].integer) continue;
    std::uint64_t number = 0;
    std::memcpy(&number, row[i].data(), size);
    ASSERT_EQ(message.GetInt(columns[i].id, nullptr), static_cast<int>(number));
  }
}

void ExpectRead(const TestTable& table, Message& message) {
  ASSERT_EQ(message.ReadHeader(), 0);
  for (const auto& row : table.rows) {
    ASSERT_EQ(message.ReadRecord(), 0);
    ASSERT_EQ(message.IsMarker(), 0);
    ExpectRow(table.columns, row, message);
  }
  if (table.marker) {
    ASSERT_EQ(message.ReadRecord(), 0);
    ASSERT_NE(message.IsMarker(), 0);
  }
  ASSERT_EQ(message.ReadRecord(), -1);
  ASSERT_EQ(LastError(message), BusError::kEndOfTable);
}

unsigned int Seed() {
  const char* given = std::getenv("PACKETDB_SEED");
  return given != nullptr ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10))
                          : std::random_device()();
}

TEST(RoundTrip, OfRandomTablesKeepsEveryByte) {
  const unsigned int seed = Seed();
  SCOPED_TRACE("PACKETDB_SEED=" + std::to_string(seed));
  Generator generator(seed);
  for (int i = 0; i < 400 && !::testing::Test::HasFatalFailure(); ++i) {
    const TestTable table = generator.Table();
    Exchange exchange;
    std::thread writer([&] {
      Write(table, exchange.server);
      exchange.pair.server.Flush();
    });
    ExpectRead(table, exchange.client);
    writer.join();
  }
}

TEST(RoundTrip, OfTheLargestRowKeepsEveryByte) {
  Exchange exchange;
  TestTable table{{}, {{}}, true, true};
  for (unsigned int id = 0; id < 16; ++id) {
    const unsigned int size = id == 15 ? 65534 : 65536;
    table.columns.push_back({id, false, size});
    table.rows[0].push_back(std::string(size, static_cast<char>('a' + id)));
  }
  std::thread writer([&] { Write(table, exchange.server); });
  ExpectRead(table, exchange.client);
  writer.join();
}

}  // namespace
}  // namespace packetdb::host
