// The command handler: its registration, its copies, its status.
#include <boost/weak_ptr.hpp>
#include <cstddef>
#include <memory>
#include <new>

#include "tests/library/server_fixture.h"
#include "tests/support/allocation.h"
#include "tests/support/slots.h"

namespace packetdb::test {
namespace {

using Callbacks = UdbDispatcher::CommandCallbacksT<int>;
using Entry = UdbDispatcher::CommandCallbackT<int>;

class JournalServer : public ServerTest {
 protected:
  // The registry that a callback answers from.
  static const void* RegistryOf(const UdbDispatcher::IUdbCallback& callback) {
    return Peek<const void*>(&callback, 2 * sizeof(void*));
  }

  Callbacks callbacks_;
};

TEST_F(JournalServer, RegistersOneCommand) {
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  ASSERT_EQ(callbacks_.size(), 1u);
  EXPECT_EQ(callbacks_[0].m_command, 100);
  EXPECT_STREQ(callbacks_[0].m_callback->desc(), "accessing packet database");
  EXPECT_EQ(RegistryOf(*callbacks_[0].m_callback), db_.get());
}

TEST_F(JournalServer, RegistersACloneOfItsFirstServer) {
  EXPECT_EQ(CallsOf([this] { UdbJournalServer::RegisterCallbacks(db_, callbacks_); }),
            (Strings{"IUdbCallback()", "IUdbCallback()", "~IUdbCallback()"}));
}

TEST_F(JournalServer, RegistersBehindWhatIsThere) {
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  callbacks_[0].m_command = 7;
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  ASSERT_EQ(callbacks_.size(), 2u);
  EXPECT_EQ(callbacks_[0].m_command, 7);
  EXPECT_EQ(callbacks_[1].m_command, 100);
}

TEST_F(JournalServer, SwitchedOffJournalRegistersNothing) {
  UdbJournalServer::RegisterCallbacks(CPacketDbPtr(), callbacks_);
  EXPECT_TRUE(callbacks_.empty());
  ExpectLogged(2, "IP packet database is disabled",
               [this] { UdbJournalServer::RegisterCallbacks(CPacketDbPtr(), callbacks_); });
}

TEST_F(JournalServer, RegistrationIsNotLogged) {
  Log().SetLevel(5);
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  EXPECT_TRUE(Log().Attempts().empty());
}

TEST_F(JournalServer, ExhaustedMemoryLeavesTheTableUnchanged) {
  const auto holders = db_.use_count();
  {
    const FailAllocationsOf no_servers(sizeof(UdbJournalServer));
    EXPECT_THROW(UdbJournalServer::RegisterCallbacks(db_, callbacks_), std::bad_alloc);
  }
  EXPECT_TRUE(callbacks_.empty());
  EXPECT_EQ(db_.use_count(), holders);
}

TEST_F(JournalServer, ExhaustedMemoryForALongerTableLeavesItUnchanged) {
  for (std::size_t entries = 0; entries <= 2; ++entries) {
    const Callbacks before(entries, Entry(boost::make_shared<UdbJournalServer>(db_), 7));
    Callbacks callbacks(before);
    ASSERT_EQ(callbacks.capacity(), entries) << "the next entry needs memory";
    const std::size_t capacity = entries == 0 ? 1 : 2 * entries;
    const auto* first = entries == 0 ? nullptr : callbacks[0].m_callback.get();
    const auto alive = AllocationsAlive();
    {
      const FailAllocationsOf no_tables(capacity * sizeof(Entry));
      EXPECT_THROW(UdbJournalServer::RegisterCallbacks(db_, callbacks), std::bad_alloc);
    }
    EXPECT_EQ(AllocationsAlive(), alive);
    ASSERT_EQ(callbacks.size(), entries);
    if (entries != 0) {
      EXPECT_EQ(callbacks[0].m_callback.get(), first);
    }
  }
}

// The first server is gone: only the entry's clone holds the registry.
TEST_F(JournalServer, EntryIsTheOnlyServerThatRemains) {
  const auto holders = db_.use_count();
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  EXPECT_EQ(db_.use_count(), holders + 1);
  EXPECT_EQ(callbacks_[0].m_callback.use_count(), 1);
  callbacks_.clear();
  EXPECT_EQ(db_.use_count(), holders);
}

TEST_F(JournalServer, EntryKeepsTheRegistryAlive) {
  CPacketDbPtr db = boost::make_shared<CPacketDb>();
  const boost::weak_ptr<CPacketDb> watched(db);
  UdbJournalServer::RegisterCallbacks(db, callbacks_);
  db.reset();
  EXPECT_FALSE(watched.expired());
  callbacks_.clear();
  EXPECT_TRUE(watched.expired());
}

TEST_F(JournalServer, CopiedEntryHasAServerOfItsOwn) {
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  const Entry copy(callbacks_[0]);
  EXPECT_NE(copy.m_callback, callbacks_[0].m_callback);
  EXPECT_EQ(copy.m_command, 100);
  EXPECT_EQ(RegistryOf(*copy.m_callback), db_.get());
}

TEST_F(JournalServer, GrowingTheTableClonesEveryEntry) {
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  const UdbDispatcher::IUdbCallback* before = callbacks_[0].m_callback.get();
  const boost::shared_ptr<UdbDispatcher::IUdbCallback> held = callbacks_[0].m_callback;
  callbacks_.reserve(callbacks_.capacity() + 1);
  EXPECT_NE(callbacks_[0].m_callback.get(), before);
  EXPECT_EQ(RegistryOf(*callbacks_[0].m_callback), db_.get());
}

TEST_F(JournalServer, AssignedEntryHasAServerOfItsOwn) {
  UdbJournalServer::RegisterCallbacks(db_, callbacks_);
  Entry target(boost::shared_ptr<UdbDispatcher::IUdbCallback>(), 1);
  target = callbacks_[0];
  EXPECT_NE(target.m_callback, callbacks_[0].m_callback);
  EXPECT_EQ(target.m_command, 100);
}

TEST_F(JournalServer, EntryHoldsCallbackThenCommand) {
  EXPECT_EQ(offsetof(Entry, m_callback), 0u);
  EXPECT_EQ(offsetof(Entry, m_command), sizeof(boost::shared_ptr<void>));
}

TEST_F(JournalServer, CloneAnswersFromTheSameRegistry) {
  const std::unique_ptr<UdbDispatcher::IUdbCallback> clone(server_.Clone());
  EXPECT_NE(dynamic_cast<UdbJournalServer*>(clone.get()), nullptr);
  EXPECT_NE(clone.get(), &server_);
  EXPECT_EQ(RegistryOf(*clone), db_.get());
}

TEST_F(JournalServer, CloneOfADisabledServerIsEnabled) {
  server_.disable();
  const std::unique_ptr<UdbDispatcher::IUdbCallback> clone(server_.Clone());
  EXPECT_TRUE(clone->enabled());
}

TEST_F(JournalServer, CanBeDisabledAndEnabled) {
  EXPECT_TRUE(server_.enabled());
  server_.disable();
  EXPECT_FALSE(server_.enabled());
  server_.enable();
  EXPECT_TRUE(server_.enabled());
}

TEST_F(JournalServer, HasNoArgument) { EXPECT_EQ(server_.arg(), nullptr); }

TEST_F(JournalServer, ServesEvenWhenDisabled) {
  server_.disable();
  EXPECT_EQ(Call(), 0);
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-3)"});
}

TEST_F(JournalServer, ServedQueryIsASuccess) {
  EXPECT_EQ(Call(), 0);
  journal_.Add(EventAt(1));
  Ask("eth0");
  EXPECT_EQ(Call(), 0);
}

TEST_F(JournalServer, StandardExceptionIsAFailure) {
  Ask("eth0", 0);
  EXPECT_EQ(Call(), -1);
}

// A storage that throws what it was made with.
template <class Exception>
class ThrowingStorage : public DatabaseStorage {
 public:
  StorageIterPtr CreateStorageIter(const Query& /*query*/) override { throw Exception{}; }
};

TEST_F(JournalServer, ForeignStandardExceptionIsAFailureWithoutAnAnswer) {
  db_->Register("odd", true, boost::make_shared<ThrowingStorage<std::bad_alloc>>());
  Ask("odd");
  EXPECT_EQ(Call(), -1);
  EXPECT_EQ(Answers(), Strings{});
}

TEST_F(JournalServer, OtherExceptionGoesToTheDispatcher) {
  struct Odd {};
  db_->Register("odd", true, boost::make_shared<ThrowingStorage<Odd>>());
  Ask("odd");
  EXPECT_THROW(Call(), Odd);
  EXPECT_EQ(Answers(), Strings{});
}

}  // namespace
}  // namespace packetdb::test
