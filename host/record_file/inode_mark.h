// A mark on a file that only the memory of the kernel holds, and no disk.
//
// It is there as long as the kernel has not forgotten the file, which it does when the file system
// is unmounted, and else only after everything that was written to the file has reached the disk.
// So a file that bears the mark of its writer is as the writer left it, to the last store. A copy
// of the file has no mark.
#pragma once

namespace packetdb::host {

enum class InodeMark {
  kNone,
  kOpen,        // the state page says that the file is being changed; the disk may not know yet
  kOpenOnDisk,  // the disk says so, too
};

// Where the kernel keeps no such marks, nothing is marked.
void MarkInode(int file, InodeMark mark);
InodeMark MarkOf(int file);

}  // namespace packetdb::host
