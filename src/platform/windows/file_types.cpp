#include "platform/file_types.h"

#include <iterator>

#include "platform/windows/system.h"

namespace vemko {
namespace {

// Longer values are no names that people gave.
constexpr std::size_t kMaxClassBytes = 128, kMaxDescriptionBytes = 160;

// The default value of a key below the classes; empty when it has none, or one of another type or size.
template <std::size_t kMaxBytes>
std::wstring defaultValue(const std::wstring& key) {
  wchar_t value[kMaxBytes / sizeof(wchar_t)] = {};
  DWORD bytes = sizeof value;
  if (::RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, value, &bytes) !=
      ERROR_SUCCESS)
    return {};
  return value;
}

}  // namespace

std::u16string systemFileTypeDescription(std::u16string_view extension) {
  if (extension.empty() || extension.find(u'\\') != extension.npos) return {};
  const std::wstring fileClass = defaultValue<kMaxClassBytes>(L"." + windows::wide(extension));
  if (fileClass.empty()) return {};
  return windows::text(defaultValue<kMaxDescriptionBytes>(fileClass));
}

}  // namespace vemko
