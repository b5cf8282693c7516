#include "kit/pending_value.h"

#include <cstring>
#include <exception>
#include <stdexcept>

#include <gtest/gtest.h>

namespace kit {
namespace {

constexpr wchar_t kKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
constexpr wchar_t kName[] = L"PendingFileRenameOperations";

class SessionManagerKey {
public:
    SessionManagerKey()
    {
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ | KEY_WRITE, &key_) != ERROR_SUCCESS)
            throw std::runtime_error("the Session Manager's key cannot be opened");
    }
    ~SessionManagerKey() { RegCloseKey(key_); }
    HKEY Get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

std::string ToAnsi(const std::wstring& text)
{
    std::string ansi(text.size() * 2 + 1, '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, ansi.data(), static_cast<int>(ansi.size()), nullptr, nullptr);
    return ansi.c_str();
}

std::wstring ToWide(const std::string& text)
{
    std::wstring wide(text.size() + 1, L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
    return wide.c_str();
}

} // namespace

std::optional<PendingValue::Raw> PendingValue::ReadRaw()
{
    const SessionManagerKey key;
    DWORD size = 0;
    Raw raw = {};
    if (RegQueryValueExW(key.Get(), kName, nullptr, &raw.type, nullptr, &size) != ERROR_SUCCESS)
        return std::nullopt;
    raw.bytes.resize(size);
    RegQueryValueExW(key.Get(), kName, nullptr, &raw.type, raw.bytes.data(), &size);
    return raw;
}

PendingValue::Pairs PendingValue::Read()
{
    Pairs pairs;
    const std::optional<Raw> raw = ReadRaw();
    if (!raw)
        return pairs;
    std::wstring units(raw->bytes.size() / sizeof(wchar_t), L'\0');
    memcpy(units.data(), raw->bytes.data(), units.size() * sizeof(wchar_t));
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
    for (const auto& [source, target] : pairs) {
        units += ToWide(source) + L'\0';
        units += ToWide(target) + L'\0';
    }
    units += L'\0';
    WriteRaw(units);
}

void PendingValue::WriteRaw(std::wstring_view units, DWORD type)
{
    const auto* bytes = reinterpret_cast<const BYTE*>(units.data());
    WriteRaw(Raw{type, {bytes, bytes + units.size() * sizeof(wchar_t)}});
}

void PendingValue::WriteRaw(const Raw& raw)
{
    const SessionManagerKey key;
    const LSTATUS code =
        RegSetValueExW(key.Get(), kName, 0, raw.type, raw.bytes.data(), static_cast<DWORD>(raw.bytes.size()));
    if (code != ERROR_SUCCESS)
        throw std::runtime_error("writing the pending value failed with " + std::to_string(code));
}

void PendingValue::Remove()
{
    const SessionManagerKey key;
    RegDeleteValueW(key.Get(), kName);
}

PendingValueKeeper::~PendingValueKeeper()
try {
    if (PendingValue::ReadRaw() == before_)
        return;
    if (before_)
        PendingValue::WriteRaw(*before_);
    else
        PendingValue::Remove();
} catch (const std::exception& failure) {
    ADD_FAILURE() << "the pending value is not as it was: " << failure.what();
}

} // namespace kit
