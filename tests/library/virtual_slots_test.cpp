// The order of virtual operations, called by position.
#include <memory>
#include <stdexcept>
#include <type_traits>

#include "packetdb/storage_iter.h"
#include "platform/record_file.h"
#include "tests/library/server_fixture.h"
#include "tests/support/slots.h"

namespace packetdb::test {
namespace {

// Notes which operation a slot reached.
class SlotStorage : public IJournalStorage {
 public:
  ~SlotStorage() override { Calls().Note("destroyed"); }
  StorageIterPtr CreateStorageIter(const Query& query) override {
    Calls().Note(query.m_Interface);
    return {};
  }
  int Init(const std::string& path, int maxRecords, int mode, time_t timeDiff) override {
    Calls().Note("Init " + path);
    return maxRecords + mode + static_cast<int>(timeDiff);
  }
  void Done() override { Calls().Note("Done"); }
  std::string GetFileName() const override { return "name"; }
  time_t getTimeDiff() const override { return 11; }
  int RecordCount() const override { return 22; }
  int FetchRecord(int position, PacketDbItem* item) const override {
    item->m_AdapterNameHash = 4;
    return position;
  }
  int FetchRecords(int first, void* buffer, int count) const override {
    *static_cast<int*>(buffer) = first;
    return count;
  }
  int AddRecord(const CDrvErrorItemV4* event, std::size_t adapterNameHash,
                const std::string& interfaceName) override {
    Calls().Note("AddRecord " + interfaceName);
    return static_cast<int>(event->m_Count + adapterNameHash);
  }
  PacketDbItem* InvertEndian(PacketDbItemPacked* record) const override {
    return reinterpret_cast<PacketDbItem*>(record);
  }
};

class VirtualSlots : public ServerTest {};

TEST_F(VirtualSlots, StorageOpensInItsPlace) {
  const SlotStorage storage;
  const Query query = QueryFor("eth5");
  const std::string path = "/p";
  Calls().Forget();
  CallSlot<StorageIterPtr>(&storage, 2, &query);
  EXPECT_EQ((CallSlot<int, const std::string*, int, int, time_t>(&storage, 3, &path, 1, 20, 300)),
            321);
  CallSlot<void>(&storage, 4);
  EXPECT_EQ(Calls().All(), (Strings{"eth5", "Init /p", "Done"}));
}

TEST_F(VirtualSlots, StorageIsAskedInItsPlace) {
  const SlotStorage storage;
  EXPECT_EQ(CallSlot<std::string>(&storage, 5), "name");
  EXPECT_EQ(CallSlot<time_t>(&storage, 6), 11);
  EXPECT_EQ(CallSlot<int>(&storage, 7), 22);
}

TEST_F(VirtualSlots, StorageReadsAndWritesInItsPlace) {
  const SlotStorage storage;
  PacketDbItem item;
  int buffer = 0;
  const Event event = Event().Count(7);
  const std::string name = "eth0";
  PacketDbItemPacked packed{};
  EXPECT_EQ((CallSlot<int>(&storage, 8, 33, &item)), 33);
  EXPECT_EQ((CallSlot<int, int, void*, int>(&storage, 9, 44, &buffer, 55)), 55);
  EXPECT_EQ(buffer, 44);
  EXPECT_EQ((CallSlot<int, const CDrvErrorItemV4*, std::size_t>(&storage, 10, &event, 60, &name)),
            67);
  EXPECT_EQ((CallSlot<void*>(&storage, 11, &packed)), &packed);
}

TEST_F(VirtualSlots, StorageDestructorTakesTheFirstTwo) {
  const IJournalStorage* storage = new SlotStorage;
  Calls().Forget();
  CallSlot<void>(storage, kDeletingDestructor);
  EXPECT_EQ(Calls().All(), Strings{"destroyed"});
}

TEST_F(VirtualSlots, LibraryStoragesHaveTheSameTable) {
  journal_.AddSeparately({1, 2});
  EXPECT_EQ(CallSlot<std::string>(&journal_.storage(), 5), kJournalPath);
  EXPECT_EQ(CallSlot<int>(&journal_.storage(), 7), 2);
  const DatabaseStorage null_storage;
  PacketDbItemPacked packed{};
  EXPECT_EQ(CallSlot<int>(&null_storage, 7), 0);
  EXPECT_EQ((CallSlot<void*>(&null_storage, 11, &packed)), nullptr);
}

TEST_F(VirtualSlots, IteratorSelectsThenSteps) {
  journal_.AddSeparately({1, 2});
  const Query query = QueryBetween(0, 10);
  const UnixDbFileStorageIter stepped(journal_.storage(), query);
  EXPECT_EQ(Times(CallSlot<const PacketDbItem*>(&stepped, 3)->m_Item), "1-1 x1");
  const UnixDbFileStorageIter drained(journal_.storage(), query);
  DbItemSelection selection;
  CallSlot<void>(&drained, 2, &selection);
  EXPECT_EQ(selection.size(), 2u);
}

TEST_F(VirtualSlots, HandlerOperationsStandInTheirOrder) {
  EXPECT_EQ((CallSlot<int, CAbstractPacketOptions*>(&server_, 2, &message_)), 0);
  EXPECT_STREQ(CallSlot<const char*>(&server_, 3), "accessing packet database");
  EXPECT_EQ(CallSlot<void*>(&server_, 4), nullptr);
  CallSlot<void>(&server_, 6);
  EXPECT_FALSE(CallSlot<bool>(&server_, 7));
  CallSlot<void>(&server_, 5);
  EXPECT_TRUE(CallSlot<bool>(&server_, 7));
  const std::unique_ptr<UdbDispatcher::IUdbCallback> clone(
      CallSlot<UdbDispatcher::IUdbCallback*>(&server_, 8));
  EXPECT_STREQ(clone->desc(), "accessing packet database");
}

TEST_F(VirtualSlots, EnabledFlagLiesBehindTheTable) {
  EXPECT_TRUE(Peek<bool>(&server_, sizeof(void*)));
  server_.disable();
  EXPECT_FALSE(Peek<bool>(&server_, sizeof(void*)));
  EXPECT_EQ(sizeof(UdbJournalServer), 2 * sizeof(void*) + sizeof(CPacketDbPtr));
}

TEST_F(VirtualSlots, ExceptionHasAVirtualDestructor) {
  EXPECT_TRUE(std::has_virtual_destructor_v<XPacketDb>);
  EXPECT_TRUE((std::is_base_of_v<std::runtime_error, XPacketDb>));
}

TEST_F(VirtualSlots, InterfacesLeaveTheirOperationsToOthers) {
  EXPECT_TRUE(std::is_abstract_v<IJournalStorage>);
  EXPECT_TRUE(std::is_abstract_v<StorageIter>);
  EXPECT_TRUE(std::is_abstract_v<UdbDispatcher::IUdbCallback>);
  EXPECT_EQ(sizeof(IJournalStorage), sizeof(void*)) << "no data of its own";
  EXPECT_EQ(sizeof(StorageIter), sizeof(void*)) << "no data of its own";
}

TEST_F(VirtualSlots, RecordFileOperationsStandInTheirOrder) {
  const CDbFile file;
  const std::string path = "/slots";
  char record[4] = "abc";
  Calls().Forget();
  CallSlot<int, const std::string*, const char*, unsigned long, unsigned long>(&file, 2, &path,
                                                                               "magic", 4, 10, 5);
  CallSlot<int>(&file, 3, record);
  CallSlot<int>(&file, 4, 0, record);
  CallSlot<int>(&file, 5, 0, record, 1);
  CallSlot<int>(&file, 6, 0, record);
  EXPECT_EQ(Calls().All(), (Strings{"Init(/slots, magic, 4, 10, 5)", "AppendRecord()",
                                    "ReadRecord(0)", "ReadRecords(0, 1)", "WriteRecord(0)"}));
}

TEST_F(VirtualSlots, MessageOperationsStandInTheirOrder) {
  const unsigned int value = 1;
  const CAbstractPacketOptions* message = &message_;
  Calls().Forget();
  CallSlot<int>(message, 0, 1);
  CallSlot<int>(message, 1, 1u, 4u);
  CallSlot<int>(message, 2, 1);
  CallSlot<int>(message, 3, 1);
  CallSlot<int>(message, 4);
  CallSlot<int>(message, 5, 1u, &value);
  for (int slot = 6; slot <= 7; ++slot) CallSlot<int>(message, slot);
  CallSlot<void>(message, 8);
  for (int slot = 9; slot <= 10; ++slot) CallSlot<int>(message, slot);
  for (int slot = 11; slot <= 14; ++slot)
    CallSlot<void*, unsigned, void*>(message, slot, 1, nullptr);
  CallSlot<int>(message, 15);
  EXPECT_EQ(Calls().All(),
            (Strings{"SetKind(1)", "AddColumn(1, 4)", "SetRecordCount(1)", "SetMarkerFlag(1)",
                     "WriteHeader()", "SetValue(1, 01000000)", "WriteRecord()", "WriteMarker()",
                     "BeginRead()", "ReadHeader()", "ReadRecord()", "GetRaw(1)", "GetInt(1)",
                     "GetShort(1)", "GetByte(1)", "IsMarker()"}));
}

}  // namespace
}  // namespace packetdb::test
