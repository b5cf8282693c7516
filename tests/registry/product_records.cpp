// What the product family registers of itself, against its records.

#include <windows.h>

#include <aclapi.h>

#include "registry/product_key.h"

namespace {

using namespace std::string_literals;
using kit::Stage;

constexpr char kLamp[] = "Software\\Norrin Vale\\Velmora\\Lamp";
constexpr char kResources[] = "SOFTWARE\\Norrin Vale\\Velmora\\Localization";
constexpr char kPath[] = "C:\\X\\Shared.DLL";
constexpr char kLower[] = "c:\\x\\shared.dll";
constexpr char kValue[] = "shared.dll";

/** Puts a sample library where a copy is to lie. @return the copy's path */
std::string MakeCopy(const std::string& name, const char* version)
{
    const std::string path = Stage::Folder(name);
    CopyFileA((kit::ProgramFolder() + "\\sample-" + version + ".dll").c_str(), path.c_str(), FALSE);
    return path;
}

void TellList(Stage& stage)
{
    stage.TellValue(kListsKey, kValue);
}

/** Each run of a case begins and ends without any key of the product family, and tells the list of copies. */
class ProductRecords : public kit::BehaviorTest {
protected:
    void Case(const std::string& title, const Ways& ways, void (*body)(Stage&))
    {
        BehaviorTest::Case(title, ways, [body](Stage& stage) {
            const NoProductKeys none;
            body(stage);
            TellList(stage);
        });
    }
};

TEST_F(ProductRecords, Product)
{
    Open("registry/product");
    Case("a product's version is an entry as any other", {}, [](Stage& stage) {
        stage.Call(&TARVO_SetProductVersion, "2.0 |beta", "Lamp");
        stage.TellValue(kLamp, "CurrentVersion");
    });
    Case("a resource is registered", {}, [](Stage& stage) {
        stage.Call(&TARVO_RegisterLocalizationResource, "C:\\A", "res");
        stage.TellValue(kResources, "res");
    });
    Case("the keys take a policy, applied or not", {.failures = false, .allocations = false}, [](Stage& stage) {
        TARVO_DefineSecurityPolicy(TARVO_POLICY_LOCKED);
        kit::MakeKey(kListsKey);
        kit::MakeKey(kResources);
        kit::ImportHook guard("SetNamedSecurityInfoA", &SetNamedSecurityInfoA);
        std::vector<std::string> guarded;
        guard.Answer([&](char* name, auto...) { return guarded.emplace_back(name), DWORD{ERROR_ACCESS_DENIED}; });
        stage.Call(&TARVO_RegisterLocalizationResource, "C:\\A\\", "res");
        stage.Call(&TARVO_RegisterDelayLoadLibrary, kPath);
        stage.Tell("guarded", guarded);
        stage.TellValue(kResources, "res");
    });
    Case("what is missing or too long is refused", {.failures = false, .allocations = false}, [](Stage& stage) {
        const std::string tooLong(2000, 'x');
        stage.HideText(tooLong, "<too long>");
        const std::pair<const char*, const char*> texts[] = {
            {nullptr, "b"}, {"", "b"}, {"a", nullptr}, {"a", ""}, {tooLong.c_str(), "b"}};
        for (const auto& [first, second] : texts) {
            stage.Check(&TARVO_SetProductVersion, first, second);
            stage.Check(&TARVO_RegisterLocalizationResource, first, second);
        }
        stage.Call(&TARVO_SetProductVersion, nullptr, nullptr);
        stage.Call(&TARVO_RegisterLocalizationResource, nullptr, nullptr);
        stage.Call(&TARVO_RegisterLocalizationResource, "a", nullptr);
        stage.Tell("product key", kit::KeyExists(kProductKey) ? "there" : "none");
    });
}

TEST_F(ProductRecords, DelayLoading)
{
    Open("registry/delay_loading");
    const Ways callsAlone = {.failures = false, .allocations = false};
    Case("a first copy makes key and list", {},
         [](Stage& stage) { stage.Call(&TARVO_RegisterDelayLoadLibrary, kPath); });
    Case("a newer copy comes first", {}, [](Stage& stage) {
        const std::string path = MakeCopy("Shared.DLL", "1.2.3.10");
        kit::WriteValue(kListsKey, kValue, TextList({MakeCopy("Old.dll", "1.2.3.9"), path}));
        stage.Call(&TARVO_RegisterDelayLoadLibrary, path);
    });
    Case("what the restart will bring counts, and no version comes last", callsAlone, [](Stage& stage) {
        const std::string replaced = MakeCopy("R.dll", "1.2.3.9");
        TARVO_RenameAfterReboot(MakeCopy("new.dll", "5.0.0.0").c_str(), replaced.c_str());
        kit::WriteValue(kListsKey, kValue,
                        TextList({MakeCopy("N.dll", "none"), MakeCopy("M.dll", "4.99.0.0"), replaced}));
        stage.Call(&TARVO_RegisterDelayLoadLibrary, MakeCopy("Shared.DLL", "1.2.3.10"));
    });
    Case("one copy of two goes", {}, [](Stage& stage) {
        kit::WriteValue(kListsKey, kValue, TextList({"C:\\x\\SHARED.dll", "C:\\Y\\Shared.dll"}));
        stage.Call(&TARVO_UnRegisterDelayLoadLibrary, kPath);
    });
    Case("the last copy takes list and key along", {}, [](Stage& stage) {
        kit::WriteValue(kListsKey, kValue, TextList({kLower}));
        stage.Call(&TARVO_UnRegisterDelayLoadLibrary, kPath);
    });
    Case("what is not registered need not be taken back", callsAlone, [](Stage& stage) {
        stage.Call(&TARVO_UnRegisterDelayLoadLibrary, kPath);
        kit::WriteValue(kListsKey, "other.dll", TextList({"c:\\other.dll"}));
        stage.Call(&TARVO_UnRegisterDelayLoadLibrary, kPath);
        kit::WriteValue(kListsKey, kValue, TextList({kLower}));
        stage.Call(&TARVO_UnRegisterDelayLoadLibrary, kPath);
        TellList(stage);
        kit::WriteValue(kListsKey, kValue, TextList({kLower}));
        stage.Call(&TARVO_UnRegisterDelayLoadLibrary, "C:\\Y\\Shared.dll");
    });
    Case("an empty list takes a copy, and none back", callsAlone, [](Stage& stage) {
        kit::WriteValue(kListsKey, kValue, TextList({}));
        stage.Call(&TARVO_RegisterDelayLoadLibrary, kPath);
    });
    Case("what is missing or too long is refused", callsAlone, [](Stage& stage) {
        const std::string tooLong(260, 'x');
        stage.HideText(tooLong, "<too long>");
        for (const char* path : {static_cast<const char*>(nullptr), "", tooLong.c_str()}) {
            stage.Call(&TARVO_RegisterDelayLoadLibrary, path);
            stage.Call(&TARVO_UnRegisterDelayLoadLibrary, path);
        }
        stage.Tell("product key", kit::KeyExists(kProductKey) ? "there" : "none");
    });
    Case("what is no list is refused and stays, one without its end is taken", callsAlone, [](Stage& stage) {
        const std::pair<DWORD, std::wstring> values[] = {
            {REG_SZ, L"c:\\a\0"s},     {REG_BINARY, L"c:\\a\0\0"s}, {REG_MULTI_SZ, L"c:\\a\0"s},
            {REG_MULTI_SZ, L"c:\\a"s}, {REG_MULTI_SZ, L""s},        {REG_MULTI_SZ, L"c:\\a\0\0b\0\0"s}};
        kit::WriteValue(kListsKey, kValue, TextList({kLower}));
        kit::ImportHook query("RegQueryValueExW", &RegQueryValueExW); // the system would close them with zeros
        for (const auto& [type, units] : values) {
            query.Answer([&](HKEY, auto, auto, DWORD* givenType, BYTE* data, DWORD* size) {
                if (!size) // whether there is a second pending value
                    return LSTATUS{ERROR_FILE_NOT_FOUND};
                *size = static_cast<DWORD>(units.size() * sizeof(wchar_t));
                if (givenType)
                    *givenType = type;
                if (data)
                    memcpy(data, units.data(), *size);
                return LSTATUS{ERROR_SUCCESS};
            });
            stage.Check(&TARVO_RegisterDelayLoadLibrary, kPath);
            TellList(stage);
            stage.Check(&TARVO_UnRegisterDelayLoadLibrary, kPath);
        }
    });
}

} // namespace
