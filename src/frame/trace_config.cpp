#include "frame/trace_config.h"

#include <cstdlib>
#include <cstring>

#include "base/text.h"

namespace tarvo {
namespace {

/** What a line of the file acts on. */
struct Target {
    TraceOptions& options;
    TraceOutput& output;
};

/** @return what stands behind the first "=" and its spaces, or NULL if there is nothing. */
const char* FindValue(const char* line)
{
    const char* equals = strchr(line, '=');
    if (!equals)
        return nullptr;
    const char* value = equals + 1 + strspn(equals + 1, " ");
    return *value && *value != '\n' ? value : nullptr;
}

void SetThreshold(Target& target, const char* value)
{
    target.options.detailThreshold = strtol(value, nullptr, 10);
}

void SetSeverities(Target& target, const char* value)
{
    target.options.severityMask = static_cast<DWORD>(strtol(value, nullptr, 10));
}

void SetRereadInterval(Target& target, const char* value)
{
    const long seconds = strtol(value, nullptr, 10);
    target.options.rereadSeconds = seconds > 0 ? static_cast<DWORD>(seconds) : 0;
}

/** value: the file name up to a comma, then, behind spaces, a mode of at most 4 characters. */
void SwitchOutput(Target& target, const char* value)
{
    constexpr size_t kMaxLine = 1024;
    BoundedText<kMaxLine> name;
    BoundedText<5> mode;
    name.SetCut({value, strcspn(value, ",\n")});
    mode.SetCut("w");
    const char* comma = value + strcspn(value, ",\n");
    if (*comma == ',') {
        const char* given = comma + 1 + strspn(comma + 1, " ");
        const size_t length = strcspn(given, " \n");
        if (length)
            mode.SetCut({given, length});
    }
    target.output.Open(name.Get(), mode.Get());
}

struct KeyRow {
    const char* key;
    void (*apply)(Target& target, const char* value);
    bool hasValue;
};

// Tested in order, first match wins: keys contain one another.
constexpr KeyRow kKeys[] = {
    {"notrace", [](Target& target, const char*) { target.options.enabled = false; }, false},
    {"tid", [](Target& target, const char*) { target.options.threadIdColumn = true; }, false},
    {"tc", [](Target& target, const char*) { target.options.tickCountColumn = true; }, false},
    {"dt", [](Target& target, const char*) { target.options.dateTimeColumn = true; }, false},
    {"nid", [](Target& target, const char*) { target.options.indentation = false; }, false},
    {"tl", SetThreshold, true},
    {"ts", SetSeverities, true},
    {"tfr", SetRereadInterval, true},
    {"tf", SwitchOutput, true},
};

void ApplyLine(Target& target, const char* line)
{
    if (line[0] == '#')
        return;
    for (const KeyRow& row : kKeys) {
        if (!strstr(line, row.key))
            continue;
        const char* value = row.hasValue ? FindValue(line) : "";
        if (value)
            row.apply(target, value);
        return;
    }
}

void WriteHeader(const TraceOptions& options, TraceOutput& output)
{
    BoundedText<32> header;
    header.Format("%s%s%s%s\n", options.severityColumn ? "ts " : "", options.threadIdColumn ? "tid " : "",
                  options.dateTimeColumn ? "dt " : "", options.tickCountColumn ? "tc " : "");
    output.Write(header.Get());
    output.SetHeaderWritten();
}

} // namespace

bool TraceConfig::IsDue(DWORD seconds) const
{
    return file_.IsOpen() && (GetTickCount() - lastReading_) / 1000 >= seconds;
}

void TraceConfig::Read(TraceOptions& options, TraceOutput& output)
{
    options = TraceOptions();
    if (!file_.IsOpen())
        return;
    Target target = {options, output};
    char line[1024];
    while (file_.ReadLine(line, sizeof line))
        ApplyLine(target, line);
    if (output.IsOpen() && !output.HeaderWritten())
        WriteHeader(options, output);
    lastReading_ = GetTickCount();
    file_.Rewind();
}

} // namespace tarvo
