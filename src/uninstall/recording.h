#pragma once

namespace tarvo {

inline constexpr char kFilesSection[] = "Files";
inline constexpr char kShortcutsSection[] = "Shortcuts";
inline constexpr char kRegistrySection[] = "Registry entries";
inline constexpr char kRegistry64Section[] = "Registry entries unvirtualized";
inline constexpr char kServicesSection[] = "Services";
inline constexpr char kCustomSection[] = "Custom";

/** Record what was created; nothing fails where nothing can be recorded. */

/** A shortcut file, or the folder made for it. It stands among the files too. */
void AddShortcutToUninstallLog(const char* path);

/** A registry key or value, as "main key\path" or "main key\path\\value"; the second in the 64-bit view. */
void AddRollbackRegEntry(const char* entry);
void AddRollbackReg64Entry(const char* entry);

} // namespace tarvo
