// Sections of INI files, and text between a code page and UTF-8, against their records.

#include <cstring>

#include "kit/kit.h"

namespace {

using kit::OutPlace;
using kit::Stage;
using SystemRecords = kit::BehaviorTest;

/** A size that the call is given and may change. */
OutPlace& Size(Stage& stage, DWORD size)
{
    OutPlace& place = stage.Number("size");
    memcpy(place.Bytes(), &size, sizeof size);
    return place;
}

/** Reads section "s" into a buffer of that size, and sees that nobody keeps the file. */
void Read(Stage& stage, std::string_view content, DWORD room, const char* section = "s")
{
    const std::string path = Stage::File("read.ini", content);
    stage.Check(&TARVO_ReadIniFileSection, path, section, stage.Text("list", room), Size(stage, room));
    const kit::FileLock nobodyHasIt(path);
}

const struct SectionRow {
    const char* fact;
    std::string_view file;
    const char* section = "s";
} kSections[] = {
    {"line ends, blanks in front and empty lines count", "[x]\n[s]\na=1\n   b=2\n\n"},
    {"CR LF is one line end", "[x]\r\n[s]\r\na=1\r\n   b=2\r\n\r\n"},
    {"lines of blanks alone are left out", "[s]\n \t \n"},
    {"letter case does not matter", "[sECTION one]\na\n", "SectioN OnE"},
    {"names match as a whole", "[ss]\na\n[s]\nb\n"},
    {"with a tab before it a header is a line", "[s]\na\n\t[t]\nb\n"},
    {"without its bracket a header is a line", "[s]\na\n[t\nb\n"},
    {"text behind the bracket is ignored", "[s] ; first]\na\n"},
    {"the first bracket ends the name", "[s]x]\na\n", "s]x"},
    {"the name may be empty", "[]\na\n", ""},
    {"comments and blanks at the end stay", "[s]\n; c\nk = v \t\n"},
};

TEST_F(SystemRecords, IniSection)
{
    Open("system/ini_section");
    const Ways callsAlone = {.records = false, .failures = false, .allocations = false};
    Case("the lines of a section", callsAlone, [](Stage& stage) {
        stage.Call(&TARVO_ReadIniFileSection, Stage::File("read.ini", "[x]\n[S]\na=1\n \t b=2 \n\n[t]\n"), "s",
                   stage.Text("list", 48), Size(stage, 48));
        for (const SectionRow& row : kSections) {
            stage.Tell("fact", row.fact);
            Read(stage, row.file, 48, row.section);
        }
    });
    Case("sizes around the required one", {.records = false}, [](Stage& stage) {
        const char* const file = "[s]\na=1\n   b=2\n\n";
        for (const DWORD room : {15, 16, 17})
            Read(stage, file, room);
        stage.Call(&TARVO_ReadIniFileSection, Stage::File("read.ini", file), "s", nullptr, Size(stage, 100));
        for (const DWORD room : {1, 2})
            Read(stage, "", room);
    });
    Case("long lines come in pieces, of 1022 bytes when counted and of 1023 when copied", callsAlone, [](Stage& stage) {
        const std::string counted(1022, 'x');
        stage.HideText(counted + "x", "<1023>");
        stage.HideText(counted, "<1022>");
        for (const char* rest : {"", "x", "xx", "xxx"})
            Read(stage, "[s]\n" + counted + rest + "\nb=\n", 1100);
        stage.Tell("counting stops at a header in a line, copying does not", "its size is told");
        const std::string stops = "[s]\n" + counted + "[t]\nbehind\n";
        for (const DWORD room : {1024, 1035})
            Read(stage, stops, room);
        stage.Tell("counting never gets inside, copying does", "its size is told");
        for (const DWORD room : {2, 8, 9})
            Read(stage, "[o]\n" + counted + "x[s]\none\ntwo\n", room);
        stage.Tell("copying stops at a header in a line, counting does not", "the list is shorter");
        Read(stage, "[s]\n" + counted + "x[t]\nbehind\n", 1100);
        Read(stage, "[o]\n" + counted + "[s]\nbehind\n", 9);
    });
    Case("missing arguments and files are refused", callsAlone, [](Stage& stage) {
        const std::string file = Stage::File("read.ini", "[s]\na\n");
        const std::pair<const char*, const char*> refused[] = {
            {nullptr, "s"}, {file.c_str(), nullptr}, {"C:\\tarvo-record\\none.ini", "s"}, {"C:\\tarvo-record", "s"}};
        for (const auto& [path, section] : refused)
            stage.Check(&TARVO_ReadIniFileSection, path, section, stage.Text("list", 10), Size(stage, 10));
        stage.Call(&TARVO_ReadIniFileSection, nullptr, nullptr, nullptr, nullptr);
        stage.Call(&TARVO_ReadIniFileSection, file, "s", stage.Text("list", 10), nullptr);
        const kit::FileLock lock(file);
        stage.Call(&TARVO_ReadIniFileSection, file, "s", stage.Text("list", 10), Size(stage, 10));
    });
}

void ToUtf8(Stage& stage, const char* source, DWORD codePage = 1252, int size = 16)
{
    stage.Check(&TARVO_MultiByteToUtf8, source, codePage, stage.Text("text", 16), Size(stage, DWORD(size)));
}

void FromUtf8(Stage& stage, const char* source, DWORD codePage = 1252, int size = 16)
{
    stage.Check(&TARVO_Utf8ToMultiByte, source, stage.Text("text", 16), codePage, Size(stage, DWORD(size)));
}

const struct ConversionRow {
    const char* fact;
    decltype(&ToUtf8) convert;
    DWORD codePage;
    const char* source;
} kConversions[] = {
    {"nothing stays nothing", &ToUtf8, 1252, ""},
    {"two and three bytes", &ToUtf8, 1252, "\xE4\x80"},
    {"a double-byte character whose trail byte is a backslash", &ToUtf8, 932, "\x83\x5C\\"},
    {"UTF-8 is a code page too", &ToUtf8, CP_UTF8, "\xF0\x9F\x98\x80"},
    {"a stray byte of UTF-8 becomes the replacement character", &ToUtf8, CP_UTF8, "a\xFFz"},
    {"back to the code page", &FromUtf8, 1252, "\xC3\xA4\xE2\x82\xAC"},
    {"back to double bytes", &FromUtf8, 932, "\xE3\x82\xBD\\"},
    {"a character outside the code page", &FromUtf8, 1252, "a\xE3\x82\xBDz"},
    {"a surrogate pair outside the code page", &FromUtf8, 1252, "a\xF0\x9F\x98\x80z"},
    {"no such code page", &ToUtf8, 99999, "a"},
    {"no such code page to go to", &FromUtf8, 99999, "a"},
};

TEST_F(SystemRecords, Utf8)
{
    Open("system/utf8");
    Case("texts of several code pages", {.records = false, .failures = false, .allocations = false}, [](Stage& stage) {
        for (const ConversionRow& row : kConversions) {
            stage.Tell("fact", row.fact);
            row.convert(stage, row.source, row.codePage, 16);
        }
    });
    Case("sizes around the required one, no source, no size", {.records = false}, [](Stage& stage) {
        stage.Call(&TARVO_MultiByteToUtf8, "\xE4", DWORD{1252}, nullptr, Size(stage, 100));
        stage.Call(&TARVO_Utf8ToMultiByte, "\xC3\xA4", nullptr, DWORD{1252}, Size(stage, 100));
        for (const int size : {-1, 2, 3, 4})
            ToUtf8(stage, "\xE4", 1252, size);
        stage.Call(&TARVO_Utf8ToMultiByte, "\xC3\xA4", stage.Text("text", 8), DWORD{1252}, Size(stage, 1));
        ToUtf8(stage, nullptr);
        stage.Call(&TARVO_MultiByteToUtf8, "a", DWORD{1252}, stage.Text("text", 8), nullptr);
        FromUtf8(stage, nullptr);
        stage.Check(&TARVO_Utf8ToMultiByte, "a", stage.Text("text", 8), DWORD{1252}, nullptr);
    });
    Case("each failing conversion gives its code", {.records = false, .failures = false, .allocations = false},
         [](Stage& stage) {
             for (const int failing : {1, 2}) {
                 kit::ImportHook widen("MultiByteToWideChar", &MultiByteToWideChar);
                 widen.FailNth(failing, ERROR_NO_UNICODE_TRANSLATION, 0);
                 ToUtf8(stage, "a");
                 widen.PassThrough();
                 kit::ImportHook narrow("WideCharToMultiByte", &WideCharToMultiByte);
                 narrow.FailNth(failing, ERROR_NO_UNICODE_TRANSLATION, 0);
                 FromUtf8(stage, "a");
             }
         });
}

} // namespace
