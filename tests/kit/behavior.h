#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "kit/library_test.h"
#include "kit/recorder.h"

namespace kit {

/** A place that a call fills, named as the record names it; filled with 0xEE first, watched behind its end. */
class OutPlace {
public:
    /** @param size  Of a text; 0 for a number. */
    OutPlace(std::string label, size_t size)
        : label_(std::move(label)), size_(size), bytes_((size ? size : sizeof(DWORD)) + kBehind, kFill)
    {
    }
    /** What the place holds, as the record shows it. */
    std::string Show() const;
    const std::string& Label() const { return label_; }
    BYTE* Bytes() { return bytes_.data(); }
    template <class T> operator T*() { return reinterpret_cast<T*>(Bytes()); }

private:
    static constexpr BYTE kFill = 0xEE;
    static constexpr size_t kBehind = 16;
    std::string label_;
    size_t size_;
    std::vector<BYTE> bytes_;
};

/** What a case does in one of its runs: its own folder and keys are empty at the beginning of each. */
class Stage {
public:
    Stage(Recorder& recorder, HMODULE library, std::function<void()> beforeCall);

    /** @return C:\tarvo-record, or a path in it. */
    static std::string Folder(const std::string& name = {});
    /** Makes a file in the folder. @return its path */
    static std::string File(const std::string& name, std::string_view content = "content");
    /** @return a key below HKEY_LOCAL_MACHINE, or one below that; the same with the main key's name in front. */
    static std::string Key(const std::string& sub = {});
    static std::string Locator(const std::string& sub = {}) { return "HKEY_LOCAL_MACHINE\\" + Key(sub); }

    /** Places for what a call hands out. */
    OutPlace& Number(const char* label) { return Text(label, 0); }
    OutPlace& Text(const char* label, size_t size, const char* content = nullptr);

    /** Calls an export and writes down what it does and hands out. */
    template <class Result, class... Parameters, class... Given>
    Result Call(Result(__cdecl* function)(Parameters...), Given&&... given)
    {
        std::string shown;
        ((shown += (shown.empty() ? "" : ", ") + ShowGiven(given)), ...);
        Begin(reinterpret_cast<const void*>(function), shown);
        if constexpr (std::is_void_v<Result>) {
            function(Pass<Parameters>(given)...);
            End("", nullptr);
        } else {
            const Result result = function(Pass<Parameters>(given)...);
            const DWORD number = (DWORD)result; // a handle as well
            End(std::is_same_v<Result, DWORD> ? "code" : "value", &number);
            return result;
        }
    }

    /** As Call, but writes down the results alone, in one line: for the further rows of a table. */
    template <class... Arguments> void Check(Arguments&&... arguments)
    {
        brief_ = true;
        Call(std::forward<Arguments>(arguments)...);
        brief_ = false;
    }

    /** A further fact, found by the case itself, for the record. */
    void Tell(const std::string& label, const std::string& fact) { Add(label + ": " + fact); }
    void Tell(const std::string& label, const std::vector<std::string>& facts);
    /** Tells a value of the registry, the content of a file, what is in a folder, the pending value. */
    void TellValue(const std::string& key, const std::string& name, View view = View::kOwn);
    void TellFile(const std::string& path) { Tell(path, FileExists(path) ? Quoted(ReadFile(path)) : "none"); }
    void TellFolder();
    void TellPending();

    /** A number, such as an address or a window, that the log shows and that differs from run to run. */
    void Hide(DWORD number, const std::string& name) { hidden_[number] = name; }
    /** A text that differs from machine to machine. */
    void HideText(const std::string& text, const std::string& name) { hiddenTexts_.emplace_back(text, name); }

    Recorder& Events() { return recorder_; }

    /** A line of the record that stands in front of an event: a call as it is written, its result, a fact told. */
    struct Note {
        size_t event;
        std::string text;
        bool isResult;
    };
    const std::vector<Note>& Notes() const { return notes_; }
    /** Puts names for what differs from machine to machine into a text. */
    std::string Stable(std::string text) const;

private:
    template <class Given> std::string ShowGiven(const Given& given)
    {
        if constexpr (std::is_same_v<std::decay_t<Given>, OutPlace>) {
            given_.push_back(&given);
            return given.Label();
        } else if constexpr (std::is_same_v<std::decay_t<Given>, std::string>) {
            return Quoted(given);
        } else if constexpr (std::is_null_pointer_v<std::decay_t<Given>>) {
            return "null";
        } else if constexpr (std::is_convertible_v<Given, const char*>) {
            const char* const text = given;
            return text ? Quoted(text) : "null";
        } else {
            return ShowNumber((long long)given);
        }
    }
    static std::string ShowNumber(long long number);

    template <class Parameter, class Given> static Parameter Pass(Given& given)
    {
        if constexpr (std::is_same_v<std::decay_t<Given>, std::string>)
            return given.c_str();
        else
            return (Parameter)given;
    }

    void Begin(const void* function, const std::string& arguments);
    void End(const char* kind, const DWORD* result);
    void Add(const std::string& line) { notes_.push_back({recorder_.Events().size(), Stable(line), true}); }
    std::string HideNumbers(const std::string& text) const;
    std::string NameOf(unsigned long long number) const;
    std::string ErrorText(DWORD code) const;

    Recorder& recorder_;
    HMODULE library_;
    std::function<void()> beforeCall_;
    bool brief_ = false;
    std::deque<OutPlace> outs_;
    std::vector<const OutPlace*> given_; // to the present call
    std::map<DWORD, std::string> hidden_;
    std::vector<std::pair<std::string, std::string>> hiddenTexts_;
    std::vector<Note> notes_;
};

/**
 * Holds exports against behavior records: text files beside the tests, one for
 * each family of exports. A record says all that the calls of its cases do: trace
 * lines (E, W, I with their detail), platform calls, results, what was recorded
 * for uninstalling and what stays open; then what comes of each platform call and
 * each allocation that fails. With TARVO_WRITE_RECORDS set, the files are written
 * anew from what was seen.
 *
 *     using ServiceRecords = kit::BehaviorTest;
 *     TEST_F(ServiceRecords, Control)
 *     {
 *         Open("services/control");
 *         Case("a stopped service is started", [](kit::Stage& stage) {
 *             ...
 *             stage.Call(&TARVO_StartService, nullptr, "TarvoControl");
 *         });
 *     }
 */
class BehaviorTest : public LibraryTest {
protected:
    using Body = std::function<void(Stage&)>;

    /** How a case is to be run. */
    struct Ways {
        bool records = true;          // with recording for uninstalling on
        bool failures = true;         // each platform call fails once
        bool allocations = true;      // each allocation fails once
        bool silentCalls = false;     // the platform calls are compared with those without a log
        bool unfolded = false;        // exports that another one calls in full
        bool sleeps = false;          // sleeps take their time
        bool ownLog = false;          // the case starts the log itself: what is done with it are calls like others
        DWORD code = ERROR_IO_DEVICE; // with which platform calls fail: one that nobody treats of its own
    };

    /** @param name  Below tests/, without the extension. */
    void Open(const std::string& name);
    void Case(const std::string& title, const Body& body) { Case(title, Ways{}, body); }
    void Case(const std::string& title, const Ways& ways, const Body& body);

    void SetUp() override;
    void TearDown() override;

private:
    struct Outcome;
    Outcome Run(const Body& body, const Ways& ways, int threshold, int failingCall, unsigned failingAllocation);
    std::string Describe(const Body& body, const Ways& ways);
    std::string DescribeSilence(const Body& body, Ways ways, const Outcome& whole);
    std::string DescribeFailures(const Body& body, const Ways& ways, const Outcome& whole);
    std::string DescribeFailure(const Body& body, const Ways& ways, const Outcome& whole, int call, unsigned allocation,
                                bool& happened);
    /** Finds the detail of each line: the least threshold at which it is there. */
    void FindDetails(const Body& body, const Ways& ways, Outcome& outcome, int call, unsigned allocation);

    std::string name_;
    std::map<std::string, std::string> expected_; // by title
    std::vector<std::pair<std::string, std::string>> seen_;
};

} // namespace kit
