// The rules for texts that several keys share.
#pragma once

#include "host/config/text_keys.h"

namespace packetdb::host {

// Without control characters, `longest` bytes at most.
TextRule PlainText(std::size_t shortest, std::size_t longest, std::string example);
// A filter of captures of `longest` bytes at most, or none.
TextRule CaptureFilter(std::size_t longest);
// An absolute path of `longest` bytes at most. One that may be left out is so by an empty text.
TextRule AbsolutePath(std::size_t longest, std::string example, bool may_be_empty = false);
// A user that the system knows, or none; a list of such users; a group that it knows, or none.
TextRule KnownUser();
TextRule KnownUsers();
TextRule KnownGroup();

// Whether there is a control character in it.
bool HasControl(const std::string& text);

}  // namespace packetdb::host
