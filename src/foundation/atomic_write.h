#pragma once
// Files the system owns are replaced, never rewritten in place: the content goes
// to a temporary file beside the target, reaches the disk, and then takes the
// target's name in one rename.
#include <functional>
#include <string>

namespace nv {

// A new GUID in its braced, upper-case form; raises "update temporary file".
std::wstring guid_text();

// True once `target` holds exactly the produced content. False, with the target
// as it was and no temporary file left, on any failure of its own; a failure
// raised by `produce_content` passes through. Without `replace`, an existing
// file at the target wins.
bool write_file_atomic(const std::wstring& target,
                       const std::function<std::string()>& produce_content, bool replace);

}  // namespace nv
