#include "kit/pending_value.h"

#include <cstring>
#include <stdexcept>

namespace kit {
namespace {

constexpr wchar_t kKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
constexpr wchar_t kName[] = L"PendingFileRenameOperations";

/** Open until the process ends. */
HKEY SessionManager()
{
    static const HKEY key = [] {
        HKEY opened = nullptr;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ | KEY_WRITE, &opened) != ERROR_SUCCESS)
            throw std::runtime_error("the Session Manager's key cannot be opened");
        return opened;
    }();
    return key;
}

std::string ToAnsi(const std::wstring& text)
{
    std::string ansi(text.size() * 2 + 1, '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, ansi.data(), static_cast<int>(ansi.size()), nullptr, nullptr);
    ansi.resize(strlen(ansi.c_str()));
    return ansi;
}

std::wstring ToWide(const std::string& text)
{
    std::wstring wide(text.size() + 1, L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
    wide.resize(wcslen(wide.c_str()));
    return wide;
}

} // namespace

std::optional<PendingValue::Raw> PendingValue::ReadRaw()
{
    DWORD size = 0;
    Raw raw = {};
    if (RegQueryValueExW(SessionManager(), kName, nullptr, &raw.type, nullptr, &size) != ERROR_SUCCESS)
        return std::nullopt;
    raw.units.resize(size / sizeof(wchar_t));
    RegQueryValueExW(SessionManager(), kName, nullptr, &raw.type, reinterpret_cast<BYTE*>(raw.units.data()), &size);
    return raw;
}

PendingValue::Pairs PendingValue::Read()
{
    Pairs pairs;
    const std::wstring units = ReadRaw().value_or(Raw{}).units;
    std::vector<std::string> texts;
    for (size_t at = 0; at < units.size();) {
        const size_t end = units.find(L'\0', at);
        texts.push_back(ToAnsi(units.substr(at, end - at)));
        at = end == std::wstring::npos ? units.size() : end + 1;
    }
    // What ends the list reads as an empty source.
    for (size_t index = 0; index < texts.size() && !texts[index].empty(); index += 2)
        pairs.emplace_back(texts[index], index + 1 < texts.size() ? texts[index + 1] : "<missing>");
    return pairs;
}

void PendingValue::Write(const Pairs& pairs)
{
    std::wstring units;
    for (const auto& [source, target] : pairs)
        units += ToWide(source) + L'\0' + ToWide(target) + L'\0';
    WriteRaw(units + L'\0');
}

void PendingValue::WriteRaw(const std::wstring& units, DWORD type)
{
    const LSTATUS code = RegSetValueExW(SessionManager(), kName, 0, type, reinterpret_cast<const BYTE*>(units.data()),
                                        static_cast<DWORD>(units.size() * sizeof(wchar_t)));
    if (code != ERROR_SUCCESS)
        throw std::runtime_error("writing the pending value failed with " + std::to_string(code));
}

void PendingValue::Remove()
{
    RegDeleteValueW(SessionManager(), kName);
}

} // namespace kit
