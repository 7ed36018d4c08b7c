#include "foundation/atomic_write.h"

#include <stdexcept>
#include <utility>

#include "foundation/failure.h"
#include "foundation/paths.h"

namespace nv {

std::wstring guid_text() {
  std::wstring text;
  if (!platform::new_guid_text(text)) fail(failure::update_temporary_file);
  return text;
}

std::wstring temporary_path_for(const std::wstring& target, TemporaryName name) {
  switch (name) {
    case TemporaryName::dot_guid_tmp:
      return target + L"." + guid_text() + L".tmp";
    case TemporaryName::guid_tmp:
      return target + guid_text() + L".tmp";
    case TemporaryName::guid_part:
      return target + guid_text() + L".part";
    case TemporaryName::fixed_tmp:
      break;
  }
  return target + L".tmp";
}

platform::WritableFile create_temporary(const std::wstring& temporary, const TemporaryRule& rule) {
  return platform::create_file(temporary, rule.creation);
}

Replacement::Replacement(std::wstring target, const TemporaryRule& rule)
    : target_(std::move(target)), rule_(rule), temporary_(temporary_path_for(target_, rule.name)) {}

Replacement::~Replacement() {
  if (rule_.removed_unless_renamed && !renamed_) platform::delete_file(temporary_);
}

bool Replacement::write(const std::string& content, bool replace) {
  {
    const platform::WritableFile file = create();
    if (!file) return false;
    // A file that may not have reached the disk never takes the target's name.
    if (!platform::write_all(*file, content.data(), static_cast<std::uint32_t>(content.size())) ||
        !platform::flush_file(*file))
      return false;
  }  // closed before the rename
  return rename(replace);
}

bool Replacement::rename(bool replace) {
  renamed_ = platform::move_file(temporary_, target_, replace);
  return renamed_;
}

namespace {

// The support report's: a temporary of its own per attempt, gone after a failure.
constexpr TemporaryRule report_temporary{.name = TemporaryName::dot_guid_tmp,
                                         .creation = platform::Creation::exclusive,
                                         .removed_unless_renamed = true};

}  // namespace

bool write_file_atomic(const std::wstring& target,
                       const std::function<std::string()>& produce_content, bool replace) {
  if (!is_absolute_path(target) || name_of(target).empty()) return false;
  if (!replace && is_regular_file(target)) return false;
  const std::string content = produce_content();  // only now, and once
  try {
    Replacement replacement(target, report_temporary);
    return replacement.write(content, replace);
  } catch (const std::runtime_error&) {
    return false;  // no GUID to name the temporary
  }
}

}  // namespace nv
