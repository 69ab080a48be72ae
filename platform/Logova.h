// Logova: the logging service. Every operation may be called from any thread at the same time,
// except that no handle of a service may be in use when that service is uninitialised. Writing a
// line never waits for the disk.
#pragma once

#include <string>
#include <string_view>

namespace Logova {

struct _THandle;

// Starts the service from its configuration file (docs/log-config.md), a path of platform/Host.h; false if
// the file cannot be read or the service runs already. Relative paths in it count from the file's own
// directory.
bool Initialize(const char* service, const char* configurationFile);
// The named logger of that service; null if the service does not run. Owned by the service.
_THandle* GetLogger(const char* service, const char* logger);
// Writes out what is waiting and ends the service; its handles are dead. A file that blocks, as a pipe
// without a reader does, holds the end for two seconds; what is left is written if the file answers later.
// False if the service does not run.
bool Uninitialize(const char* service);

// The least severe level that the logger writes, from 0 (Emerg) to 8 (Trace). It does not change.
int GetLevel(_THandle*);

// An answer that takes longer than so many milliseconds is to be reported as slow, by the configuration; 0:
// none is.
int GetSlowLimit(_THandle*);

// What the service's thread does beside writing lines. Exceptions of the two functions are caught.
struct Reporter {
    // Is called twice a second. May write lines.
    void (*pfnLook)();
    // Gives the text of the status file: as JSON, or in the text format of Prometheus.
    std::string (*pfnStatus)(bool bJson);
};
// From now on, until the service has ended. The status file is the one that the configuration names, if it
// names one: the text replaces the file as a whole, in each period and for the last time at the end of the
// service. Throws std::bad_alloc.
void SetReporter(_THandle*, const Reporter& reporter);

// Most severe first. The text is written as it is: a percent sign has no meaning.
void Emerg(_THandle*, const char* text);
void Alert(_THandle*, const char* text);
void Fatal(_THandle*, const char* text);
void Error(_THandle*, const char* text);
void Warning(_THandle*, const char* text);
void Notice(_THandle*, const char* text);
void Info(_THandle*, const char* text);
void Debug(_THandle*, const char* text);
void Trace(_THandle*, const char* text);

// Formatted in the manner of printf, with %I64d for 64-bit signed values on every system. Control characters
// in an argument of %s or %c are escaped (\n as a backslash and an n, others as \xNN); those of the format
// stay.
void EmergFmt(_THandle*, const char* format, ...);
void AlertFmt(_THandle*, const char* format, ...);
void FatalFmt(_THandle*, const char* format, ...);
void ErrorFmt(_THandle*, const char* format, ...);
void WarningFmt(_THandle*, const char* format, ...);
void NoticeFmt(_THandle*, const char* format, ...);
void InfoFmt(_THandle*, const char* format, ...);
void DebugFmt(_THandle*, const char* format, ...);
void TraceFmt(_THandle*, const char* format, ...);

// The text with its control characters escaped as above, for a foreign text inside a text of several lines
// that is written without a format. Throws std::bad_alloc.
std::string EscapeControls(std::string_view text);

}  // namespace Logova
