#include <gtest/gtest.h>

#include "platform/bus.h"

namespace {

using UdbDispatcher::CommandCallbacksT;
using UdbDispatcher::CommandCallbackT;
using UdbDispatcher::IUdbCallback;

class Handler : public IUdbCallback {
 public:
  explicit Handler(boost::shared_ptr<int> shared) : shared_(std::move(shared)) {}
  int call(CAbstractPacketOptions*) override { return 0; }
  const char* desc() const override { return "a handler"; }
  IUdbCallback* Clone() const override { return new Handler(*this); }
  boost::shared_ptr<int> shared_;
};

CommandCallbackT<int> Entry(const boost::shared_ptr<int>& shared, int command) {
  return {boost::shared_ptr<IUdbCallback>(new Handler(shared)), command};
}

TEST(Callback, IsEnabledUntilItIsDisabled) {
  Handler handler(nullptr);
  EXPECT_TRUE(handler.enabled());
  handler.disable();
  EXPECT_FALSE(handler.enabled());
  handler.enable();
  EXPECT_TRUE(handler.enabled());
}

TEST(Callback, HasNoArgumentOfItsOwn) { EXPECT_EQ(Handler(nullptr).arg(), nullptr); }

TEST(CommandCallback, CopiesCloneTheHandler) {
  const boost::shared_ptr<int> shared(new int(0));
  const CommandCallbackT<int> entry = Entry(shared, 100);
  const CommandCallbackT<int> copy(entry);
  CommandCallbackT<int> assigned = Entry(shared, 1);
  assigned = entry;
  EXPECT_NE(copy.m_callback.get(), entry.m_callback.get());
  EXPECT_NE(assigned.m_callback.get(), entry.m_callback.get());
  EXPECT_EQ(copy.m_command, 100);
  EXPECT_EQ(assigned.m_command, 100);
  EXPECT_EQ(static_cast<Handler&>(*copy.m_callback).shared_.get(), shared.get());
}

TEST(CommandCallback, CopiesOfADisabledHandlerAreDisabled) {
  const CommandCallbackT<int> entry = Entry(nullptr, 100);
  entry.m_callback->disable();
  EXPECT_FALSE(CommandCallbackT<int>(entry).m_callback->enabled());
}

TEST(CommandCallback, OfNoHandlerCopiesToNone) {
  const CommandCallbackT<int> entry(boost::shared_ptr<IUdbCallback>(), 7);
  EXPECT_FALSE(CommandCallbackT<int>(entry).m_callback);
}

TEST(CommandCallback, AssignedToItselfKeepsItsHandler) {
  CommandCallbackT<int> entry = Entry(nullptr, 100);
  const IUdbCallback* before = entry.m_callback.get();
  const CommandCallbackT<int>& same = entry;
  entry = same;
  EXPECT_EQ(entry.m_callback.get(), before);
}

TEST(CommandCallback, AGrowingTableClonesEveryHandler) {
  const boost::shared_ptr<int> shared(new int(0));
  CommandCallbacksT<int> table;
  table.push_back(Entry(shared, 100));
  const boost::shared_ptr<IUdbCallback> before = table[0].m_callback;
  table.reserve(table.capacity() + 1);
  EXPECT_NE(table[0].m_callback.get(), before.get());
  EXPECT_EQ(table[0].m_callback.use_count(), 1);
}

}  // namespace
