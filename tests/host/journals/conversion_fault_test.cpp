// Conversions in a process that the kernel refuses one kind of system call: whatever fails then,
// the records are there for the next writer, and the error says what failed.
#include <cstddef>
#include <gmock/gmock.h>
#include <iostream>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"

namespace packetdb::host::test {
namespace {

// From now on each of the two calls fails with EIO in this process.
bool Deny(long first, long second) {
  constexpr unsigned int kNumber = offsetof(seccomp_data, nr);
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned int>(first), 1, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned int>(second), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EIO),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter = {sizeof program / sizeof *program, program};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

struct Fault {
  const char* name;
  long first;
  long second;
  const char* error;  // part of what is said; empty: it is converted all the same
};

void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }

// Of calls with an older sibling, both: which one the C library makes is its own business.
const Fault kFaults[] = {
    {"Link", SYS_link, SYS_linkat, "it needs a second name"},
    {"Lock", SYS_flock, SYS_flock, "cannot lock"},
    {"RecordFileLock", SYS_fcntl, SYS_fcntl, "a system call failed"},
    {"NameNewFile", SYS_renameat2, SYS_renameat2, ".~tmp: a system call failed"},
    {"RenameNewFile", SYS_rename, SYS_rename, "boost::filesystem::rename: Input/output error"},
    {"RemoveOldFile", SYS_unlink, SYS_unlinkat, "boost::filesystem::remove: Input/output error"},
    {"Allocate", SYS_fallocate, SYS_fallocate, ".~tmp: a system call failed"},
    {"Sync", SYS_fsync, SYS_fsync, "cannot sync"},
    {"SyncOfData", SYS_fdatasync, SYS_fdatasync, ""},  // reported to the system log; synced again
    {"ChangeOfMode", SYS_fchmod, SYS_fchmod, ".~tmp: a system call failed"},
};

class FaultyConversion : public testing::TestWithParam<std::tuple<JournalFormat, Fault>> {};

TEST_P(FaultyConversion, LosesNothing) {
  const auto& [format, fault] = GetParam();
  const OldGroup group;
  MakeOld(group.Path(), format, 5);
  const int said = InChild([&, fault = fault] {
    if (!Deny(fault.first, fault.second)) return 2;
    const std::string error = WhatOf<JournalError>([&] { ConvertIfOld(group.Path(), {}); });
    const bool as_expected = *fault.error == '\0' ? error == "nothing was thrown"
                                                  : error.find(fault.error) != std::string::npos;
    if (!as_expected) std::cerr << "said: " << error << '\n';
    return as_expected ? 0 : 1;
  });
  EXPECT_EQ(said, 0);
  RecordFileInfo info;
  ASSERT_EQ(ProbeRecordFile(group.Path(), &info), 0);
  EXPECT_EQ(FormatOf(info), *fault.error == '\0' ? JournalFormat::k4 : format);
  group.Open();
  EXPECT_EQ(NumbersIn(group.Path(), format), Numbers(0, 5));
  EXPECT_THAT(NamesIn(group.directory()), testing::ElementsAre("lan.group", "lan.journal"));
}

INSTANTIATE_TEST_SUITE_P(Every, FaultyConversion,
                         testing::Combine(testing::Values(JournalFormat::k3, JournalFormat::k41),
                                          testing::ValuesIn(kFaults)),
                         [](const auto& row) {
                           const bool is_3 = std::get<0>(row.param) == JournalFormat::k3;
                           return std::string(std::get<1>(row.param).name) +
                                  (is_3 ? "OfFormat3" : "OfFormat41");
                         });

}  // namespace
}  // namespace packetdb::host::test
