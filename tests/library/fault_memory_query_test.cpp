// Memory runs out at every allocation of the registry, the query and the server: what is thrown
// passes through, nothing leaks, and the object works again.
#include <boost/make_shared.hpp>
#include <memory>
#include <string>

#include "packetdb/journal_server.h"
#include "packetdb/registry.h"
#include "tests/library/fault_fixture.h"
#include "tests/library/server_fixture.h"

namespace packetdb::test {
namespace {

using Callbacks = UdbDispatcher::CommandCallbacksT<int>;

const std::string kLongName = "a name that is too long to be kept in place";

boost::shared_ptr<IJournalStorage> NullStorage() { return boost::make_shared<DatabaseStorage>(); }

using RegistryMemory = Faults;

TEST_F(RegistryMemory, EntryIsThereOrNot) {
  ExpectMemoryOutcomes({"there", "bad_alloc"}, [](const MemoryFault& fault) {
    CPacketDb db;
    const auto storage = NullStorage();
    const auto other = NullStorage();
    db.Register("eth0", true, other);
    std::string outcome = fault.Meets([&] { db.Register(kLongName, true, storage); });
    EXPECT_EQ(db.GetActualStorage("eth0"), other);
    EXPECT_TRUE(db.IsDynamic("eth0"));
    EXPECT_EQ(db.IsDynamic(kLongName), outcome.empty());
    if (db.GetActualStorage(kLongName)) outcome += "there";
    EXPECT_TRUE(db.Register(kLongName, false, storage));
    EXPECT_EQ(db.GetActualStorage(kLongName), storage);
    return outcome;
  });
}

TEST_F(RegistryMemory, CopyOfEntriesIsThereOrNot) {
  const CPacketDb::StorageMap entries{{kLongName, {true, NullStorage()}},
                                      {kLongName + " 2", {false, NullStorage()}}};
  ExpectMemoryOutcomes({"", "bad_alloc"}, [&](const MemoryFault& fault) {
    return fault.Meets([&] { const CPacketDb db(entries); });
  });
}

TEST_F(RegistryMemory, RefusalNeedsNone) {
  const boost::shared_ptr<IJournalStorage> none;
  ExpectMemoryOutcomes({"refused"}, [&](const MemoryFault& fault) {
    CPacketDb db;
    bool registered = true;
    const std::string thrown =
        fault.Meets([&] { registered = db.Register(kLongName, true, none); });
    return thrown + (registered ? "registered" : "refused");
  });
}

TEST_F(RegistryMemory, LookingUpAndRemovingNeedNone) {
  ExpectMemoryOutcomes({""}, [](const MemoryFault& fault) {
    CPacketDb db;
    db.Register(kLongName, true, NullStorage());
    std::string thrown = fault.Meets([&] {
      db.GetActualStorage(kLongName);
      db.IsDynamic(kLongName);
      db.UnRegister(kLongName);
    });
    EXPECT_FALSE(db.GetActualStorage(kLongName));
    return thrown;
  });
}

class QueryMemory : public Faults {
 protected:
  static std::string Sizes(const Query& query) {
    return std::to_string(query.m_Protocols.size()) + "+" + std::to_string(query.m_Errcodes.size());
  }
};

// The interface is read first, the lists last.
TEST_F(QueryMemory, DecodingEndsAtTheListThatHasNoRoom) {
  ExpectMemoryOutcomes({"2+3", "bad_alloc0+0", "bad_alloc2+0"}, [](const MemoryFault& fault) {
    ScriptedMessage message;
    message.CarryName("eth0");
    message.Carry(28, "\x06\x11");
    message.Carry(15, BytesOf(1) + BytesOf(2) + BytesOf(3));
    Query query;
    const std::string thrown = fault.Meets([&] { query.read(&message); });
    EXPECT_STREQ(query.m_Interface, "eth0");
    Query again;
    again.read(&message);
    EXPECT_EQ(Sizes(again), "2+3");
    return thrown + Sizes(query);
  });
}

TEST_F(QueryMemory, ArrayIsReadOrStaysAsItWas) {
  ExpectMemoryOutcomes({"3", "bad_alloc1"}, [](const MemoryFault& fault) {
    ScriptedMessage message;
    message.Carry(15, BytesOf(1) + BytesOf(2) + BytesOf(3));
    std::vector<int> codes{9};
    const std::string thrown = fault.Meets([&] { get_array(&message, 15, codes); });
    EXPECT_EQ(codes.front(), thrown.empty() ? 1 : 9);
    return thrown + std::to_string(codes.size());
  });
}

TEST_F(QueryMemory, QueryIsSentOrNot) {
  ExpectMemoryOutcomes({"sent", "bad_alloc"}, [](const MemoryFault& fault) {
    ScriptedMessage message;
    Query query = QueryFor();
    query.m_Errcodes.assign({1, 2, 3});
    query.m_Protocols.assign({6, 17});
    std::string outcome = fault.Meets([&] { query.write(&message); });
    EXPECT_EQ(Calls().CountOf("udbGetCommandAnswer"), outcome.empty() ? 1 : 0);
    ScriptedMessage next;
    EXPECT_EQ(query.write(&next), 0);
    if (outcome.empty()) outcome = "sent";
    return outcome;
  });
}

// A list of one row has grown to two, one of two to four: the third row needs room as well.
TEST_F(QueryMemory, RowsThatHaveRoomStay) {
  ExpectMemoryOutcomes(
      {"x3", "bad_alloc x0", "bad_alloc x1", "bad_alloc x2"}, [](const MemoryFault& fault) {
        ScriptedMessage message;
        message.FeedRows({{{1, BytesOf(1)}}, {{1, BytesOf(2)}}, {{1, BytesOf(3)}}});
        Query query;
        std::vector<PacketDbClientItem> rows;
        const std::string thrown = fault.Meets([&] { query.process(&message, &rows); });
        for (std::size_t i = 0; i < rows.size(); ++i) {
          EXPECT_EQ(Value(rows[i].m_Item.m_Count), i + 1);
        }
        return thrown + (thrown.empty() ? "x" : " x") + std::to_string(rows.size());
      });
}

// What goes back to the client, and what comes back to the dispatcher.
class ServerMemory : public Faults {
 protected:
  struct World {
    World() : db(boost::make_shared<CPacketDb>()), server(db) {
      db->Register("eth0", false, journal.shared());
      for (std::uint32_t second = 1; second <= 20; ++second) journal.AddSeparately({second});
    }
    Journal journal;
    CPacketDbPtr db;
    UdbJournalServer server;
  };
  static ScriptedMessage Request(const std::string& name) {
    ScriptedMessage message;
    message.CarryName(name);
    message.CarryByte(31, 1);
    message.CarryInt(3, 0x7fffffff);
    Calls().Forget();
    return message;
  }
  // "0 (0) x20": the status, the answer codes, the rows.
  static std::string Answered(int status, const ScriptedMessage& message) {
    std::string text = std::to_string(status);
    for (const auto& answer : Calls().Of("udbSendCommandAnswer")) text += " " + answer.substr(20);
    return text + " x" + std::to_string(message.WrittenRows().size());
  }
  static std::string CallAndAgain(const MemoryFault& fault, const std::string& name) {
    World world;
    ScriptedMessage message = Request(name);
    int status = 1;
    const std::string thrown = fault.Meets([&] { status = world.server.call(&message); });
    std::string outcome = thrown + Answered(status, message);
    ScriptedMessage next = Request("eth0");
    EXPECT_EQ(Answered(world.server.call(&next), next), "0 (0) x20");
    return outcome;
  }
};

TEST_F(ServerMemory, QueryIsServedOrFailsUnanswered) {
  ExpectMemoryOutcomes({"0 (0) x20", "-1 x0"},
                       [](const MemoryFault& fault) { return CallAndAgain(fault, "eth0"); });
}

TEST_F(ServerMemory, UnknownNameIsAnsweredOrFails) {
  ExpectMemoryOutcomes({"0 (-3) x0", "-1 x0"},
                       [](const MemoryFault& fault) { return CallAndAgain(fault, "nobody"); });
}

TEST_F(ServerMemory, SelectingKeepsTheRegistryAndTheQueryUsable) {
  ExpectMemoryOutcomes({"x20", "bad_alloc"}, [](const MemoryFault& fault) {
    World world;
    Query query = QueryFor();
    DbItemSelection selection;
    std::string outcome = fault.Meets([&] { world.server.SelectRecords(query, selection); });
    if (outcome.empty()) outcome += "x" + std::to_string(selection.size());
    selection.clear();
    world.server.SelectRecords(query, selection);
    EXPECT_EQ(selection.size(), 20u);
    return outcome;
  });
}

TEST_F(ServerMemory, SendingNeedsNone) {
  ExpectMemoryOutcomes({"x1"}, [](const MemoryFault& fault) {
    World world;
    const DbItemSelection selection{Record(EventAt(1))};
    ScriptedMessage message;
    std::string thrown = fault.Meets([&] { world.server.SendRows(&message, selection); });
    return thrown + "x" + std::to_string(message.WrittenRows().size());
  });
}

TEST_F(ServerMemory, ServerIsRegisteredOrTheTableIsUnchanged) {
  ExpectMemoryOutcomes({"2", "bad_alloc1"}, [](const MemoryFault& fault) {
    const CPacketDbPtr db = boost::make_shared<CPacketDb>();
    Callbacks callbacks;
    UdbJournalServer::RegisterCallbacks(db, callbacks);
    callbacks.shrink_to_fit();
    const auto holders = db.use_count();
    const std::string thrown =
        fault.Meets([&] { UdbJournalServer::RegisterCallbacks(db, callbacks); });
    EXPECT_EQ(db.use_count(), holders + (thrown.empty() ? 1 : 0));
    EXPECT_EQ(callbacks.front().m_command, 100);
    return thrown + std::to_string(callbacks.size());
  });
}

TEST_F(ServerMemory, CloneIsThereOrNot) {
  ExpectMemoryOutcomes({"", "bad_alloc"}, [](const MemoryFault& fault) {
    const CPacketDbPtr db = boost::make_shared<CPacketDb>();
    const UdbJournalServer server(db);
    std::unique_ptr<UdbDispatcher::IUdbCallback> clone;
    std::string thrown = fault.Meets([&] { clone.reset(server.Clone()); });
    EXPECT_EQ(clone != nullptr, thrown.empty());
    return thrown;
  });
}

TEST_F(ServerMemory, NoticeOfASwitchedOffJournalNeedsNone) {
  ExpectMemoryOutcomes({""}, [](const MemoryFault& fault) {
    Callbacks callbacks;
    return fault.Meets([&] { UdbJournalServer::RegisterCallbacks(CPacketDbPtr(), callbacks); });
  });
}

}  // namespace
}  // namespace packetdb::test
