#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "files/normalized_path.h"
#include "kit/pending_value.h"

/** The pending list as its rules read, plain and slow: a vector, loops, wide characters. */
namespace model {

inline std::wstring Wide(const std::string& text)
{
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                                        wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

inline std::string Narrow(const std::wstring& wide)
{
    std::string text(wide.size() * 4, '\0');
    text.resize(static_cast<size_t>(WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()),
                                                        text.data(), static_cast<int>(text.size()), nullptr, nullptr)));
    return text;
}

inline std::wstring Lower(std::wstring text)
{
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

/** The value, and what the system refuses. */
struct Store {
    static constexpr DWORD kOpenCode = ERROR_ACCESS_DENIED;
    static constexpr DWORD kReadCode = ERROR_IO_DEVICE;
    static constexpr DWORD kWriteCode = ERROR_REGISTRY_IO_FAILED;

    std::optional<kit::PendingValue::Raw> value;
    int refusedOpen = 0; // this opening of the key and all behind it; 0: none
    enum Reading { kAnswered, kSizeUnknown, kSizeRefused, kDataRefused } reading = kAnswered;
    bool refusesWriting = false;
    int opens = 0;
    int writes = 0;

    bool Opens() { return ++opens < refusedOpen || !refusedOpen; }

    DWORD Read(std::wstring& units) const
    {
        units.clear();
        if (reading == kSizeRefused)
            return kReadCode;
        if (reading == kSizeUnknown || !value || value->units.empty())
            return ERROR_SUCCESS;
        if (reading == kDataRefused)
            return kReadCode;
        if (value->type != REG_MULTI_SZ && value->type != REG_SZ && value->type != REG_EXPAND_SZ)
            return ERROR_INVALID_DATA;
        units = value->units;
        return ERROR_SUCCESS;
    }

    DWORD Write(const std::wstring& units)
    {
        ++writes;
        if (refusesWriting)
            return kWriteCode;
        value = {REG_MULTI_SZ, units};
        return ERROR_SUCCESS;
    }
};

/** A text of an entry: normalised, and as it stood in the value where the code page cannot hold it. */
struct Text {
    std::wstring text;
    std::optional<std::wstring> exact;

    static Text FromPath(const std::wstring& stored) { return {Normalized(stored), {}}; }
    static Text FromValue(const std::wstring& stored)
    {
        const std::wstring held = Wide(Narrow(stored));
        return {Normalized(held), held == stored ? std::nullopt : std::optional(stored)};
    }
    bool Matches(const Text& other) const { return Lower(text) == Lower(other.text) && exact == other.exact; }
    const std::wstring& InValue() const { return exact ? *exact : text; }
};

struct Query {
    std::optional<Text> source; // none matches any
    std::optional<Text> target;
};

struct Entry {
    Text source;
    Text target;
    bool removed = false;

    bool Matches(const Query& query) const
    {
        return (!query.source || query.source->Matches(source)) && (!query.target || query.target->Matches(target));
    }
};

inline std::wstring Stored(const char* plain, const std::wstring& mark)
{
    const std::wstring path = Wide(plain);
    if (path.empty())
        return path;
    return path.starts_with(L"\\\\") ? mark + L"\\??\\UNC\\" + path.substr(2) : mark + L"\\??\\" + path;
}

inline Query Formatted(const char* source, const char* target)
{
    Query query;
    if (source)
        query.source = Text::FromPath(Stored(source, L""));
    if (target)
        query.target = Text::FromPath(Stored(target, L"!"));
    return query;
}

inline std::wstring Plain(const std::wstring& stored)
{
    if (Narrow(stored).size() <= 4)
        return L"";
    if (Lower(stored).starts_with(L"\\??\\unc\\"))
        return L"\\\\" + stored.substr(8);
    return stored.starts_with(L"\\??\\") ? stored.substr(4) : stored;
}

class PendingList {
public:
    explicit PendingList(Store& store) : store_(store) {}

    DWORD Receive()
    {
        if (received_) {
            Update();
            Release();
        }
        if (!store_.Opens())
            return Store::kOpenCode;
        std::wstring units;
        if (const DWORD code = store_.Read(units))
            return code;
        for (size_t at = 0; at < units.size() && units[at];) {
            const std::wstring source = Take(units, at);
            entries_.push_back({Text::FromValue(source), Text::FromValue(Take(units, at))});
        }
        received_ = true;
        return ERROR_SUCCESS;
    }

    DWORD Update()
    {
        if (!received_ || !changed_)
            return ERROR_SUCCESS;
        if (!store_.Opens())
            return Store::kOpenCode;
        PendingList others(store_);
        others.Receive(); // what cannot be read counts as empty
        if (!entries_.empty() || !others.entries_.empty()) {
            for (Entry& entry : others.entries_)
                entry.removed = Has({entry.source, entry.target});
            if (const DWORD code = store_.Write(Units() + others.Units() + L'\0'))
                return code;
        }
        Release();
        return ERROR_SUCCESS;
    }

    DWORD Rename(const char* source, const char* target)
    {
        if (!source || !*source)
            return ERROR_INVALID_PARAMETER;
        if (const DWORD code = LoadOnNeed())
            return code;
        const Query texts = Formatted(source, target ? target : "");
        entries_.push_back({*texts.source, *texts.target});
        changed_ = true;
        return flush ? Update() : ERROR_SUCCESS;
    }

    DWORD Remove(const char* source, const char* destination)
    {
        if (const DWORD code = LoadOnNeed())
            return code;
        const bool deletions = destination && Lower(Wide(destination)) == L"nul";
        const Query query = Formatted(source, deletions ? "" : destination);
        for (Entry& entry : entries_) {
            if (!entry.removed && entry.Matches(query))
                entry.removed = changed_ = true;
        }
        return flush ? Update() : ERROR_SUCCESS;
    }

    DWORD Find(const char* destination, std::string& source)
    {
        if (!destination)
            return ERROR_INVALID_PARAMETER;
        source.clear();
        if (const DWORD code = LoadOnNeed())
            return code;
        const int asTarget = Newest(Formatted(nullptr, destination));
        const int asSource = Newest(Formatted(destination, nullptr));
        if (asTarget > asSource) {
            source = Narrow(Plain(At(asTarget).source.text)).substr(0, MAX_PATH - 1);
            return ERROR_SUCCESS;
        }
        return asSource < 0 || !At(asSource).target.text.empty() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
    }

    bool flush = true;

private:
    static std::wstring Take(const std::wstring& units, size_t& at)
    {
        const size_t end = std::min(units.find(L'\0', at), units.size());
        const std::wstring text = units.substr(at, end - at);
        at = std::min(end + 1, units.size());
        return text;
    }

    void Release()
    {
        entries_.clear();
        received_ = changed_ = false;
    }

    DWORD LoadOnNeed() { return received_ ? ERROR_SUCCESS : Receive(); }

    bool Has(const Query& query) const
    {
        for (const Entry& entry : entries_) {
            if (entry.Matches(query))
                return true; // a removed one too
        }
        return false;
    }

    int Newest(const Query& query) const
    {
        int newest = -1;
        for (int index = 0; index < static_cast<int>(entries_.size()); ++index) {
            if (!At(index).removed && At(index).Matches(query))
                newest = index;
        }
        return newest;
    }

    const Entry& At(int index) const { return entries_[static_cast<size_t>(index)]; }

    std::wstring Units() const
    {
        std::wstring units;
        for (const Entry& entry : entries_) {
            if (!entry.removed)
                units += entry.source.InValue() + L'\0' + entry.target.InValue() + L'\0';
        }
        return units;
    }

    Store& store_;
    std::vector<Entry> entries_;
    bool received_ = false;
    bool changed_ = false;
};

} // namespace model
