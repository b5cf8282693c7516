// The exports of the pending list against its rules, call by call.

#include "pending/pending_model.h"

#include <algorithm>
#include <cstring>

#include "kit/dice.h"
#include "kit/kit.h"

namespace {

using kit::PendingValue;
using model::Store;
using OptionalText = std::optional<std::string>;

const char* Given(const OptionalText& text)
{
    return text ? text->c_str() : nullptr;
}

/** Lets the real registry refuse what the model's does. */
class Refusals {
public:
    explicit Refusals(const Store& store)
    {
        open_.Answer([this, &store](HKEY key, auto name, auto... rest) -> LSTATUS {
            const bool counts = name && strstr(name, "Session Manager");
            opens_ += counts;
            const bool refused = counts && store.refusedOpen && opens_ >= store.refusedOpen;
            return refused ? Store::kOpenCode : open_.Original()(key, name, rest...);
        });
        query_.Answer([this, &store](HKEY key, auto name, auto unused, DWORD* type, BYTE* data,
                                     DWORD* size) -> LSTATUS {
            if (store.reading == Store::kSizeRefused)
                *size = 10;
            const bool refused = store.reading != Store::kAnswered && (data || store.reading != Store::kDataRefused);
            return refused ? Store::kReadCode : query_.Original()(key, name, unused, type, data, size);
        });
        if (store.refusesWriting)
            set_.FailAll(0, Store::kWriteCode);
    }

    int Writes() const { return set_.Calls(); }

private:
    kit::ImportHook<decltype(&RegOpenKeyExA)> open_{"RegOpenKeyExA", &RegOpenKeyExA};
    kit::ImportHook<decltype(&RegQueryValueExW)> query_{"RegQueryValueExW", &RegQueryValueExW};
    kit::ImportHook<decltype(&RegSetValueExW)> set_{"RegSetValueExW", &RegSetValueExW};
    int opens_ = 0;
};

std::vector<std::string> Names()
{
    std::vector<std::string> names = {"a", "A",        "ab",   "[",    "{",    "@",   "`",
                                      "?", "a\\..\\b", "x\\B", ".\\a", "a\\.", "b\\", ""};
    const std::vector<std::string> western = {"\xC9", "\xE9", "\x8C", "\x9C", "\xC9\\..\\\xE9"};
    // Second bytes that are a backslash, a bar, a bracket, a letter or a first byte.
    const std::vector<std::string> japanese = {
        "\x83\x5C", "\x83\x5C\\", "a\x95\x5C\\..\\b", "\x83\x7C",           "\xE0\x5C\\\\\xFA\x5C",     "\x83\x61",
        "\x83\x41", "\x82\x60",   "\x82\x81",         "\x95\x5C\x95\x5C..", "\x88\x9F\\.\\\xFA\x5C\\x", "\x81\x81\\..",
    };
    const std::vector<std::string>& more = GetACP() == 932 ? japanese : western;
    if (GetACP() != CP_UTF8)
        names.insert(names.end(), more.begin(), more.end());
    return names;
}

/** Often one that the value has, as a plain path. */
std::string SomePath(kit::Dice& dice)
{
    static const std::vector<std::string> prefixes = {"C:\\", "C:\\", "c:\\", "\\\\s\\", "\\\\S\\", "\\"};
    static const std::vector<std::string> names = Names();
    const PendingValue::Pairs pairs = dice.OneIn(2) ? PendingValue::Read() : PendingValue::Pairs();
    if (pairs.empty())
        return dice.Of(prefixes) + dice.Of(names);
    const auto& [source, target] = dice.Of(pairs);
    const std::wstring stored = model::Wide(dice.OneIn(2) ? source : target);
    return model::Narrow(model::Plain(stored.starts_with(L'!') ? stored.substr(1) : stored));
}

/** What others put into the value: forms and characters of their own. */
std::wstring SomeStored(kit::Dice& dice)
{
    static const std::vector<std::wstring> prefixes = {L"\\??\\C:\\",
                                                       L"\\??\\C:\\",
                                                       L"!\\??\\C:\\",
                                                       L"!\\??\\C:\\",
                                                       L"\\??\\UNC\\s\\",
                                                       L"\\??\\unc\\s\\",
                                                       L"\\??\\unc\\s\\",
                                                       L"!\\??\\UNC\\s\\",
                                                       L"*1\\??\\C:\\",
                                                       L"\\??\\",
                                                       L"",
                                                       L"",
                                                       L""};
    static const std::vector<std::wstring> names = {L"a",
                                                    L"A",
                                                    L"b",
                                                    L"ab",
                                                    L"b\\",
                                                    L"x\\..\\a",
                                                    L"\x65E5",
                                                    L"\x65E5",
                                                    L"\x65E5",
                                                    L"\x65E5",
                                                    GetACP() == CP_UTF8 ? L"" : L"\x672C\\.\\x\\",
                                                    L"?",
                                                    L"\x0100",
                                                    L"\xD83D",
                                                    L"\xDE00\xD83D",
                                                    L"\xE9",
                                                    L"\x20AC\x81",
                                                    L"\x0E01",
                                                    L""};
    if (dice.OneIn(15))
        return L"C:\\d"; // as short as what counts for nothing
    return dice.Of(prefixes) + dice.Of(names);
}

class PendingModel : public kit::LibraryTest {
protected:
    void NewLibrary()
    {
        Reload();
        list_.emplace(store_);
        // Without a log from the beginning, in the midst, or never.
        const int logs[] = {0, dice_.Below(kStepsOfALibrary), kStepsOfALibrary};
        stepOfTheLog_ = logs[dice_.Below(3)];
    }

    void OthersChangeTheValue();
    void RefuseSome();
    void Call();

    static constexpr int kStepsOfALibrary = 60;
    kit::Dice dice_;
    Store store_;
    std::optional<model::PendingList> list_;
    int stepOfTheLog_ = 0;
    bool traced_ = false;
    std::wstring pair_;    // that others have added last
    std::wstring earlier_; // what the value held once
};

void PendingModel::OthersChangeTheValue()
{
    if (dice_.OneIn(2)) // else the same again
        pair_ = SomeStored(dice_) + L'\0' + (dice_.OneIn(3) ? L"" : SomeStored(dice_)) + L'\0';
    DWORD type = REG_MULTI_SZ;
    std::wstring units = store_.value ? store_.value->units : L"";
    std::wstring end(1, L'\0');
    if (!units.empty())
        units.pop_back(); // the end of the list
    if (units.size() > 500 || dice_.OneIn(12))
        units.clear();
    switch (dice_.Below(11)) {
    case 0:
        return PendingValue::Remove();
    case 1:
        units = pair_ + units;
        break;
    case 2:
        units += SomeStored(dice_); // without a target
        break;
    case 3:
        type = dice_.Of(std::vector<DWORD>{REG_BINARY, REG_DWORD, REG_SZ, REG_EXPAND_SZ});
        break;
    case 4:
        std::swap(units, earlier_);
        break;
    case 5:
    case 7:
        std::replace(units.begin(), units.end(), L'\x65E5', L'\x0E01'); // not the same, but so for most code pages
        break;
    case 6:
        end = dice_.OneIn(2) ? L"" : end + pair_ + end; // nothing counts behind the end
        break;
    default:
        units += pair_;
    }
    PendingValue::WriteRaw(units + end, type);
}

void PendingModel::RefuseSome()
{
    store_.opens = store_.writes = 0;
    store_.refusedOpen = 0;
    store_.reading = Store::kAnswered;
    store_.refusesWriting = dice_.OneIn(20);
    if (dice_.OneIn(20)) // without a log fewer openings do
        store_.refusedOpen = traced_ ? 1 + dice_.Below(3) : 1;
    else if (dice_.OneIn(15))
        store_.reading = dice_.Of(std::vector{Store::kSizeUnknown, Store::kSizeRefused, Store::kDataRefused});
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
        EXPECT_TRUE(kit::Gives(list_->Receive(), TARVO_ReceivePFOsInfo()));
    } else if (call == 1) {
        EXPECT_TRUE(kit::Gives(list_->Update(), TARVO_UpdatePFOsInfo()));
    } else if (call == 2) {
        list_->flush = !list_->flush;
        TARVO_SetPFOsImmediateFlush(list_->flush ? 7 : 0);
    } else if (call < 7) {
        EXPECT_TRUE(kit::Gives(list_->Remove(Given(source), Given(target)),
                               TARVO_RemovePendingFileOperation(Given(source), Given(target))));
    } else if (call < 13) {
        char found[MAX_PATH] = "unset";
        std::string expected = found;
        EXPECT_TRUE(kit::Gives(list_->Find(Given(source), expected),
                               TARVO_FindSourceInPFOs(Given(source), found, sizeof found)));
        EXPECT_EQ(expected, found);
    } else {
        EXPECT_TRUE(kit::Gives(list_->Rename(Given(source), Given(target)),
                               TARVO_RenameAfterReboot(Given(source), Given(target))));
    }
}

TEST_F(PendingModel, EveryCallGoesByTheRules)
{
    PendingValue::Remove();
    for (int step = 0; step < 3000 && !HasFailure(); ++step) {
        SCOPED_TRACE(kit::Dice::Place(step));
        if (step % kStepsOfALibrary == 0)
            NewLibrary();
        traced_ = step % kStepsOfALibrary >= stepOfTheLog_;
        if (step % kStepsOfALibrary == stepOfTheLog_)
            kit::TraceLog(Scratch().Path("trace.log"));
        if (dice_.OneIn(6))
            OthersChangeTheValue();
        store_.value = PendingValue::ReadRaw();
        const auto before = store_.value;
        RefuseSome();
        {
            const Refusals refusals(store_);
            Call();
            EXPECT_EQ(store_.writes, refusals.Writes());
        }
        EXPECT_TRUE(store_.value == PendingValue::ReadRaw())
            << "before   " << testing::PrintToString(before.value_or(PendingValue::Raw{}).units) << "\nexpected "
            << testing::PrintToString(store_.value.value_or(PendingValue::Raw{}).units) << "\nfound    "
            << testing::PrintToString(PendingValue::ReadRaw().value_or(PendingValue::Raw{}).units);
    }
}

} // namespace
