#pragma once
// Files the system owns are replaced, never rewritten in place: the content goes
// to a temporary file beside the target, reaches the disk, and then takes the
// target's name in one rename with write-through. Every writer goes through
// `Replacement`; what differs between them is its `TemporaryRule`.
#include <functional>
#include <string>

#include "platform/file_ops.h"

namespace nv {

// A new GUID in its braced, upper-case form; raises "update temporary file".
std::wstring guid_text();

// The temporary's name, after the whole target path.
enum class TemporaryName {
  dot_guid_tmp,  // target.{GUID}.tmp
  guid_tmp,      // target{GUID}.tmp
  guid_part,     // target{GUID}.part
  fixed_tmp,     // target.tmp: one name for every attempt, so a leftover is truncated
};

struct TemporaryRule {
  TemporaryName name = TemporaryName::dot_guid_tmp;
  platform::Creation creation = platform::Creation::exclusive;
  // Whether the temporary goes when the replacement ends without its rename.
  bool removed_unless_renamed = true;
};

std::wstring temporary_path_for(const std::wstring& target, TemporaryName name);
// The one way a temporary file is created: with the rule's flags. Null on failure.
platform::WritableFile create_temporary(const std::wstring& temporary, const TemporaryRule& rule);

// One attempt at replacing `target`. Its temporary is named when the attempt
// begins, and removed when the attempt ends without a rename, if the rule says so.
class Replacement {
 public:
  // Raises "update temporary file" when the rule's name needs a GUID that cannot be had.
  Replacement(std::wstring target, const TemporaryRule& rule);
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  ~Replacement();

  const std::wstring& temporary() const { return temporary_; }
  platform::WritableFile create() const { return create_temporary(temporary_, rule_); }
  // Creates the temporary, writes all of `content` in one call, flushes and
  // closes it, then renames it. False at the first step that fails.
  bool write(const std::string& content, bool replace);
  // Moves the temporary onto the target with write-through; over an existing
  // file only when `replace`.
  bool rename(bool replace);

 private:
  std::wstring target_;
  TemporaryRule rule_;
  std::wstring temporary_;
  bool renamed_ = false;
};

// True once `target` holds exactly the produced content. False, with the target
// as it was and no temporary file left, on any failure of its own; a failure
// raised by `produce_content` passes through. Without `replace`, an existing
// file at the target wins.
bool write_file_atomic(const std::wstring& target,
                       const std::function<std::string()>& produce_content, bool replace);

}  // namespace nv
