#include "foundation/atomic_write.h"

#include "foundation/failure.h"
#include "foundation/paths.h"
#include "platform/file_ops.h"

namespace nv {

std::wstring guid_text() {
  std::wstring text;
  if (!platform::new_guid_text(text)) fail(failure::update_temporary_file);
  return text;
}

bool write_file_atomic(const std::wstring& target,
                       const std::function<std::string()>& produce_content, bool replace) {
  if (!is_absolute_path(target) || name_of(target).empty()) return false;
  if (!replace && is_regular_file(target)) return false;
  const std::string content = produce_content();
  std::wstring guid;
  if (!platform::new_guid_text(guid)) return false;
  const std::wstring temporary = target + L"." + guid + L".tmp";
  switch (platform::write_new_file(temporary, content)) {
    case platform::WrittenFile::cannot_create:
      return false;
    case platform::WrittenFile::written:
      if (platform::move_file(temporary, target, replace)) return true;
      break;
    case platform::WrittenFile::cannot_write:
      break;
  }
  platform::delete_file(temporary);
  return false;
}

}  // namespace nv
