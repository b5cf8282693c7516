// The exports of the pending list against its rules, plain and slow, call by call.

#include <algorithm>
#include <cstring>
#include <optional>

#include "files/normalized_path.h"
#include "kit/dice.h"
#include "kit/kit.h"

namespace {

using kit::PendingValue;
using OptionalText = std::optional<std::string>;
using OptionalWide = std::optional<std::wstring>;

std::wstring Wide(const std::string& text)
{
    std::wstring wide(text.size(), L'\0');
    const int size = static_cast<int>(text.size());
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size)));
    return wide;
}

std::string Narrow(const std::wstring& wide)
{
    std::string text(wide.size() * 4, '\0');
    text.resize(static_cast<size_t>(WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()),
                                                        text.data(), static_cast<int>(text.size()), nullptr, nullptr)));
    return text;
}

std::wstring Lower(std::wstring text)
{
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

/** The value, and what the system refuses: to the model, and in the same way to the library. */
class Store {
public:
    Store()
    {
        open_.Answer([this](HKEY key, const char* name, auto... rest) -> LSTATUS {
            const bool counts = strstr(name, "Session Manager");
            const bool refused = counts && ++librarysOpens_ >= refusedOpen_ && refusedOpen_;
            return refused ? kOpenCode : open_.Original()(key, name, rest...);
        });
        query_.Answer([this](HKEY key, auto name, auto unused, DWORD* type, BYTE* data, DWORD* size) -> LSTATUS {
            const bool counts = wcscmp(name, L"PendingFileRenameOperations") == 0;
            if (reading == kSizeRefused && size)
                *size = 10;
            const bool refused = counts && reading != kAnswered && (data || reading != kDataRefused);
            return refused ? kReadCode : query_.Original()(key, name, unused, type, data, size);
        });
        native_.Answer(
            [this](auto... all) -> LONG { return reading != kAnswered ? kRefused : native_.Original()(all...); });
        set_.Answer([this](auto... all) { return refusesWriting_ ? LSTATUS{kWriteCode} : set_.Original()(all...); });
    }

    void Refuse(int open, bool writing)
    {
        refusedOpen_ = open;
        refusesWriting_ = writing;
        reading = kAnswered;
        opens_ = librarysOpens_ = 0;
    }

    bool Opens() { return ++opens_ < refusedOpen_ || !refusedOpen_; }

    /** What a reading gives. */
    struct Answer {
        DWORD code = 0;
        std::wstring units = {};
        bool exists = false;
        DWORD refusal = 0; // of the size, which counts as an empty value until it is to be written
        friend bool operator==(const Answer&, const Answer&) = default;
    };

    Answer Read() const
    {
        if (reading == kSizeRefused || (reading == kDataRefused && value && !value->units.empty()))
            return {kReadCode};
        if (reading == kSizeUnknown)
            return {0, L"", true, kReadCode};
        if (!value || value->units.empty())
            return {0, L"", value.has_value()};
        if (value->type != REG_MULTI_SZ && value->type != REG_SZ && value->type != REG_EXPAND_SZ)
            return {ERROR_INVALID_DATA};
        return {0, value->units, true};
    }

    DWORD Write(const std::wstring& units)
    {
        ++writes_;
        if (!refusesWriting_)
            value = {REG_MULTI_SZ, units};
        return refusesWriting_ ? kWriteCode : ERROR_SUCCESS;
    }

    bool SameWrites() const { return writes_ == set_.Calls(); }

    static constexpr DWORD kOpenCode = ERROR_ACCESS_DENIED;
    std::optional<PendingValue::Raw> value;
    enum Reading { kAnswered, kSizeUnknown, kSizeRefused, kDataRefused } reading = kAnswered;

private:
    static constexpr LONG kRefused = -1; // what is asked for in another way then
    static constexpr DWORD kReadCode = ERROR_IO_DEVICE;
    static constexpr DWORD kWriteCode = ERROR_REGISTRY_IO_FAILED;

    int refusedOpen_ = 0; // this opening of the key and all behind it; 0: none
    bool refusesWriting_ = false;
    int opens_ = 0; // by the model
    int librarysOpens_ = 0;
    int writes_ = 0;
    kit::ImportHook<decltype(&RegOpenKeyExA)> open_{"RegOpenKeyExA", &RegOpenKeyExA};
    kit::ImportHook<decltype(&RegQueryValueExW)> query_{"RegQueryValueExW", &RegQueryValueExW};
    kit::ImportHook<kit::NativeQuery> native_{"NtQueryValueKey", nullptr};
    kit::ImportHook<decltype(&RegSetValueExW)> set_{"RegSetValueExW", &RegSetValueExW};
};

/** @return the path as the restart is to find it, whatever the process means by it. */
std::wstring Meant(std::wstring path)
{
    std::replace(path.begin(), path.end(), L'/', L'\\');
    if (Lower(path).starts_with(L"\\\\?\\unc\\"))
        path.replace(0, 7, L"\\");
    if (path.starts_with(L"\\\\?\\") && path.substr(5, 1) == L":")
        path.erase(0, 4);
    if (path.starts_with(L"\\\\"))
        return path;
    wchar_t full[MAX_PATH] = {};
    if (path.substr(1, 2) != L":\\" && GetFullPathNameW(path.c_str(), MAX_PATH, full, nullptr) && full[0] != L'\\')
        path = full;
    if (path.substr(1, 1) == L":")
        path = model::Normalized(path);
    const std::wstring system = L"c:\\windows\\system32";
    if ((Lower(path) + L'\\').starts_with(system + L'\\'))
        path.replace(11, 8, L"SysWOW64");
    return path;
}

std::wstring BehindMarker(const std::wstring& stored)
{
    const size_t digits = stored.find_first_not_of(L"0123456789", 1);
    const bool marked = stored.starts_with(L'*') && digits < stored.size() && digits > 1 &&
                        (stored[digits] == L'\\' || stored[digits] == L'!');
    return marked ? stored.substr(digits) : stored;
}

/** A text of an entry: without a marker, and normalised. */
struct Text {
    std::wstring text;
    OptionalWide unheld; // as it stood in the value where the code page cannot hold it
    OptionalWide whole;  // what is written in its stead

    static std::optional<Text> FromPath(const char* plain, const std::wstring& mark)
    {
        if (!plain || !*plain)
            return plain ? std::optional(Text()) : std::nullopt;
        const std::wstring path = Meant(Wide(plain));
        const bool unc = path.starts_with(L"\\\\");
        return Text{model::Normalized(mark + (unc ? L"\\??\\UNC\\" + path.substr(2) : L"\\??\\" + path)), {}, {}};
    }
    static Text FromValue(const std::wstring& stored)
    {
        const std::wstring behind = BehindMarker(stored);
        const std::wstring held = Wide(Narrow(behind));
        Text text = {model::Normalized(held), {}, {}};
        if (held != behind)
            text.unheld = behind;
        if (held != behind || behind != stored)
            text.whole = stored;
        return text;
    }
    bool Matches(const Text& other) const { return Lower(text) == Lower(other.text) && unheld == other.unheld; }
};

struct Entry {
    Text source;
    Text target;
    bool removed = false;

    /** No text matches any. */
    bool Matches(const std::optional<Text>& ofSource, const std::optional<Text>& ofTarget) const
    {
        return (!ofSource || ofSource->Matches(source)) && (!ofTarget || ofTarget->Matches(target));
    }
};

std::wstring Plain(const std::wstring& stored)
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
        bool open = false;
        return Receive(open);
    }

    DWORD Update()
    {
        bool open = false;
        return Update(open);
    }

    DWORD Rename(const char* source, const char* target)
    {
        if (!source || !*source)
            return ERROR_INVALID_PARAMETER;
        bool open = false;
        if (const DWORD code = LoadToChange(open))
            return code;
        entries_.push_back({*Text::FromPath(source, L""), *Text::FromPath(target ? target : "", L"!")});
        changed_ = true;
        return flush ? Update(open) : ERROR_SUCCESS;
    }

    DWORD Remove(const char* source, const char* destination)
    {
        bool open = false;
        if (const DWORD code = LoadToChange(open))
            return code;
        if (const DWORD code = Open(open)) // to look for a second value
            return code;
        const bool deletions = destination && Lower(Wide(destination)) == L"nul";
        changed_ |= Mark(Text::FromPath(source, L""), Text::FromPath(deletions ? "" : destination, L"!"));
        return flush ? Update(open) : ERROR_SUCCESS;
    }

    DWORD Find(const char* destination, std::string& source)
    {
        if (!destination)
            return ERROR_INVALID_PARAMETER;
        source.clear();
        if (const DWORD code = received_ ? ERROR_SUCCESS : Receive())
            return code;
        for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
            if (!entry->removed && entry->Matches(Text::FromPath(destination, L""), {}))
                return entry->target.text.empty() ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
            if (!entry->removed && entry->Matches({}, Text::FromPath(destination, L"!")))
                return source = Narrow(Plain(entry->source.text)).substr(0, MAX_PATH - 1), ERROR_SUCCESS;
        }
        return ERROR_FILE_NOT_FOUND;
    }

    bool flush = true;

private:
    /** @param open  Whether this call has opened the key. */
    DWORD Open(bool& open)
    {
        open = open || store_.Opens();
        return open ? ERROR_SUCCESS : Store::kOpenCode;
    }

    DWORD Receive(bool& open)
    {
        if (received_) {
            if (const DWORD code = Update(open))
                return code;
            Release();
        }
        if (const DWORD code = Open(open))
            return code;
        const Store::Answer reading = store_.Read();
        if (reading.code)
            return reading.code;
        for (size_t at = 0; at < reading.units.size() && reading.units[at];) {
            const std::wstring source = Take(reading.units, at);
            entries_.push_back({Text::FromValue(source), Text::FromValue(Take(reading.units, at))});
        }
        read_ = reading;
        received_ = true;
        return ERROR_SUCCESS;
    }

    /** Sees what others have done, unless changes are waiting: then they are seen when those are written. */
    DWORD LoadToChange(bool& open)
    {
        if (!received_)
            return Receive(open);
        if (changed_)
            return ERROR_SUCCESS;
        if (const DWORD code = Open(open))
            return code;
        const Store::Answer reading = store_.Read();
        return reading.code ? reading.code : reading == read_ ? ERROR_SUCCESS : Receive(open);
    }

    DWORD Update(bool& open)
    {
        if (!received_ || !changed_)
            return ERROR_SUCCESS;
        if (const DWORD code = Open(open))
            return code;
        PendingList others(store_);
        if (const DWORD code = others.Receive())
            return code;
        if (others.read_.refusal)
            return others.read_.refusal;
        for (const Entry& own : entries_) // a removed one too
            others.Mark(own.source, own.target);
        const std::wstring units = Units() + others.Units();
        if (!units.empty() || others.read_.exists) {
            if (const DWORD code = store_.Write(units + L'\0'))
                return code;
        }
        Release();
        return ERROR_SUCCESS;
    }

    static std::wstring Take(const std::wstring& units, size_t& at)
    {
        const size_t end = std::min(units.find(L'\0', at), units.size());
        const std::wstring text = units.substr(at, end - at);
        at = std::min(end + 1, units.size());
        return text;
    }

    /** Marks as removed. @return whether there were any */
    bool Mark(const std::optional<Text>& source, const std::optional<Text>& target)
    {
        bool any = false;
        for (Entry& entry : entries_) {
            if (!entry.removed && entry.Matches(source, target))
                entry.removed = any = true;
        }
        return any;
    }

    void Release()
    {
        entries_.clear();
        received_ = changed_ = false;
    }

    std::wstring Units() const
    {
        std::wstring units;
        for (const Entry& entry : entries_) {
            for (const Text* text : {&entry.source, &entry.target})
                units += entry.removed ? L"" : text->whole.value_or(text->text) + L'\0';
        }
        return units;
    }

    Store& store_;
    std::vector<Entry> entries_;
    Store::Answer read_;
    bool received_ = false;
    bool changed_ = false;
};

const char* Given(const OptionalText& text)
{
    return text ? text->c_str() : nullptr;
}

/** @return the parts of a text with bars between them. */
template <class Char> std::vector<std::basic_string<Char>> Parts(const std::basic_string<Char>& text)
{
    std::vector<std::basic_string<Char>> parts;
    for (size_t at = 0; at <= text.size(); at += parts.back().size() + 1)
        parts.push_back(text.substr(at, text.find(Char{'|'}, at) - at));
    return parts;
}

const std::string kNames = "a|A|ab|[|{|@|`|?|a\\..\\b|x\\B|.\\a|a\\.|b\\||..\\..\\a|a/b|..";
const std::string kWesternNames = "|\xC9|\xE9|\x8C|\x9C|\xC9\\..\\\xE9";
// Second bytes that are a backslash, a bracket, a letter or a first byte; and a bar.
const std::string kJapaneseNames =
    "|\x83\x5C|\x83\x5C\\|a\x95\x5C\\..\\b|\xE0\x5C\\\\\xFA\x5C|\x83\x61|\x83\x41|\x82\x60|"
    "\x82\x81|\x95\x5C\x95\x5C..|\x88\x9F\\.\\\xFA\x5C\\x|\x81\x81\\..";

const std::string kUtf8Names = "|\xC3\x89|\xC3\xA9|\xC3\xAA|\xE6\x97\xA5|\xE6\x97\xA5\\..\\\xC3\xA9|\xF0\x9F\x98\x80";

std::vector<std::string> Names()
{
    const UINT page = GetACP();
    std::vector<std::string> names = Parts(kNames + (page == CP_UTF8 ? kUtf8Names
                                                     : page == 932   ? kJapaneseNames
                                                                     : kWesternNames));
    if (page == 932)
        names.emplace_back("\x83\x7C");
    return names;
}

/** Often one that the value has, as a plain path. */
std::string SomePath(kit::Dice& dice)
{
    static const std::vector<std::string> prefixes = {"C:\\",
                                                      "C:\\",
                                                      "c:\\",
                                                      "c:/",
                                                      "\\\\s\\",
                                                      "\\\\S\\",
                                                      "//s/",
                                                      "\\",
                                                      "x\\..\\",
                                                      "C:",
                                                      "",
                                                      "/",
                                                      "\\\\?\\C:\\",
                                                      "\\\\?\\unc\\s\\",
                                                      "C:\\Windows\\.\\System32",
                                                      "C:\\Windows\\system32\\"};
    static const std::vector<std::string> names = Names();
    const PendingValue::Pairs pairs = dice.OneIn(2) ? PendingValue::Read() : PendingValue::Pairs();
    if (pairs.empty())
        return dice.Of(prefixes) + dice.Of(names);
    const auto& [source, target] = dice.Of(pairs);
    const std::wstring stored = BehindMarker(Wide(dice.OneIn(2) ? source : target));
    return Narrow(Plain(stored.starts_with(L'!') ? stored.substr(1) : stored));
}

/** What others put into the value: forms and characters of their own. */
std::wstring SomeStored(kit::Dice& dice)
{
    static const std::vector<std::wstring> prefixes =
        Parts<wchar_t>(L"\\??\\C:\\|\\??\\C:\\|!\\??\\C:\\|!\\??\\C:\\|\\??\\UNC\\s\\|\\??\\unc\\s\\|\\??\\unc\\s\\|"
                       L"!\\??\\UNC\\s\\|*1\\??\\C:\\|*2\\??\\C:\\|*13!\\??\\c:\\|*\\??\\C:\\|*1|\\??\\|||");
    static const std::vector<std::wstring> names =
        Parts<wchar_t>(L"a|A|b|ab|b\\|x\\..\\a|\x65E5|\x65E5|\x65E5|\x65E5|?|\x0100|\xD83D|\xDE00\xD83D|\xE9|"
                       L"\x20AC\x81|\x0E01||\x672C\\.\\x\\");
    if (dice.OneIn(15))
        return L"C:\\d"; // as short as what counts for nothing
    return dice.Of(prefixes) + dice.Of(names);
}

class PendingModel : public kit::LibraryTest {
protected:
    void NewLibrary();
    void OthersChangeTheValue();
    void RefuseSome();
    void Call();
    void Compare(DWORD expected, DWORD code, bool searches = false);

    static constexpr int kStepsOfALibrary = 60;
    kit::Dice dice_;
    std::optional<Store> store_;
    std::optional<PendingList> list_;
    int age_ = 0; // of the library, in steps
    int ageOfTheLog_ = 0;
    bool lacksMemory_ = false;
    std::wstring pair_;    // that others have added last
    std::wstring earlier_; // what the value held once
};

void PendingModel::NewLibrary()
{
    store_.reset();
    Reload(); // fails if a block was kept
    list_.emplace(store_.emplace());
    age_ = 0;
    // Without a log from the beginning, in the midst, or never.
    ageOfTheLog_ = dice_.Of(std::vector{0, dice_.Below(kStepsOfALibrary), kStepsOfALibrary});
}

void PendingModel::OthersChangeTheValue()
{
    if (dice_.OneIn(2)) // else the same again
        pair_ = SomeStored(dice_) + L'\0' + (dice_.OneIn(3) ? L"" : SomeStored(dice_)) + L'\0';
    DWORD type = REG_MULTI_SZ;
    std::wstring units = store_->value ? store_->value->units : L"";
    std::wstring end(1, L'\0');
    if (!units.empty())
        units.pop_back(); // the end of the list
    if (units.size() > 500 || dice_.OneIn(12))
        units.clear();
    const int change = dice_.Below(11);
    if (change == 0)
        return PendingValue::Remove();
    if (change == 1)
        units = pair_ + units;
    else if (change == 2)
        units += SomeStored(dice_); // without a target
    else if (change == 3)
        type = dice_.Of(std::vector<DWORD>{REG_BINARY, REG_DWORD, REG_SZ, REG_EXPAND_SZ});
    else if (change == 4)
        std::swap(units, earlier_);
    else if (change == 5 || change == 7)
        std::replace(units.begin(), units.end(), L'\x65E5', L'\x0E01'); // not the same, but so for most code pages
    else if (change == 6)
        end = dice_.OneIn(2) ? L"" : end + pair_ + end; // nothing counts behind the end
    else
        units += pair_;
    PendingValue::WriteRaw(units + end, type);
}

void PendingModel::RefuseSome()
{
    const bool refusesWriting = dice_.OneIn(20);
    const bool refusesOpening = dice_.OneIn(20);
    const int openings = age_ >= ageOfTheLog_ ? 3 : 1; // without a log there are fewer
    store_->Refuse(refusesOpening ? 1 + dice_.Below(openings) : 0, refusesWriting);
    if (!refusesOpening && dice_.OneIn(15))
        store_->reading = dice_.Of(std::vector{Store::kSizeUnknown, Store::kSizeRefused, Store::kDataRefused});
    else if (!refusesOpening && !refusesWriting && dice_.OneIn(10))
        Heap().FailAllocation(1 + static_cast<unsigned>(dice_.Below(12)));
}

/** Without memory a call may fail, and a search miss an entry. */
void PendingModel::Compare(DWORD expected, DWORD code, bool searches)
{
    lacksMemory_ = Heap().FailureHappened();
    Heap().FailAllocation(0);
    if (!lacksMemory_ || (code != ERROR_NOT_ENOUGH_MEMORY && !searches)) {
        EXPECT_TRUE(kit::Gives(expected, code));
    }
}

void PendingModel::Call()
{
    const OptionalText source = dice_.OneIn(3) ? OptionalText() : SomePath(dice_);
    const OptionalText target = dice_.OneIn(3)   ? OptionalText()
                                : dice_.OneIn(6) ? dice_.Of(std::vector<std::string>{"NUL", "nul"})
                                                 : SomePath(dice_);
    const int call = dice_.Below(20);
    SCOPED_TRACE(testing::Message() << "call " << call << ", " << testing::PrintToString(source) << ", "
                                    << testing::PrintToString(target));
    if (call == 0) {
        Compare(list_->Receive(), TARVO_ReceivePFOsInfo());
    } else if (call == 1) {
        Compare(list_->Update(), TARVO_UpdatePFOsInfo());
    } else if (call == 2) {
        list_->flush = !list_->flush;
        TARVO_SetPFOsImmediateFlush(list_->flush ? 7 : 0);
        Compare(0, 0);
    } else if (call < 7) {
        Compare(list_->Remove(Given(source), Given(target)),
                TARVO_RemovePendingFileOperation(Given(source), Given(target)));
    } else if (call < 13) {
        char found[MAX_PATH] = "unset";
        std::string expected = found;
        Compare(list_->Find(Given(source), expected), TARVO_FindSourceInPFOs(Given(source), found, sizeof found), true);
        EXPECT_TRUE(lacksMemory_ || expected == found) << expected << " or " << found;
    } else {
        Compare(list_->Rename(Given(source), Given(target)), TARVO_RenameAfterReboot(Given(source), Given(target)));
    }
}

TEST_F(PendingModel, EveryCallGoesByTheRules)
{
    PendingValue::Remove();
    NewLibrary();
    for (int step = 0; step < 3000 && !HasFailure(); ++step, ++age_) {
        SCOPED_TRACE(kit::Dice::Place(step));
        if (lacksMemory_ || age_ == kStepsOfALibrary)
            NewLibrary();
        if (age_ == ageOfTheLog_)
            kit::TraceLog(Scratch().Path("trace.log"));
        if (dice_.OneIn(6))
            OthersChangeTheValue();
        const auto before = store_->value = PendingValue::ReadRaw();
        RefuseSome();
        Call();
        EXPECT_TRUE(lacksMemory_ || store_->SameWrites());
        const auto after = PendingValue::ReadRaw();
        const auto shown = [](const auto& value) { return testing::PrintToString(value ? value->units : L"none"); };
        EXPECT_TRUE(store_->value == after || (lacksMemory_ && before == after))
            << "before   " << shown(before) << "\nexpected " << shown(store_->value) << "\nfound    " << shown(after);
    }
}

} // namespace
