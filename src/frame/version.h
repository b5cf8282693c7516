/* The library's version: for the banner of the log and, through the resource compiler, for the version resource. */
#ifndef TARVO_FRAME_VERSION_H
#define TARVO_FRAME_VERSION_H

#ifdef RC_INVOKED

#define TARVO_FILE_VERSION 10, 0, 176, 0
#define TARVO_FILE_VERSION_TEXT "10.0.176.0"

#else

namespace tarvo {

inline constexpr char kLibraryName[] = "TARVO.DLL";
inline constexpr char kLibraryBaseName[] = "TARVO";
inline constexpr int kVersionMajor = 10;
inline constexpr int kVersionMinor = 0;
inline constexpr int kVersionBuild = 176;

} // namespace tarvo

#endif
#endif
