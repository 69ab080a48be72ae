/*
 * Velkar Sandbox: the stand-in for the Velkar service inside a test program of a studio's own. This is the
 * whole interface; it compiles as C11 and as C++17. docs/sandbox-embedded.md has an example.
 *
 * Conventions, for every function below:
 *
 *  1. Texts are UTF-8 and end in a NUL. A text that a call gets belongs to the caller, and no pointer to it
 *     is kept. JSON is what docs/sandbox-http.md and its neighbours describe.
 *  2. Answers. A call that succeeds or fails leaves a text, which VelkarSandboxAnswer gives: JSON, and after
 *     a failure {"error": "..."}. It belongs to the sandbox and to the calling thread: it stays as it is
 *     until the same thread makes its next call on the same sandbox, or the sandbox is stopped.
 *  3. Null. A null sandbox is answered with 0, a null text where none may be left out with 0 and an error.
 *  4. Threads. Any thread may call any function at any time, also several at once, but for VelkarSandboxStop:
 *     that is the last call on its sandbox, and no other one is under way. A sandbox runs threads of its own,
 *     which take no signals of the process.
 *  5. Several sandboxes may run in one process. They have nothing in common.
 *  6. No C++ exception leaves. What has run out of memory fails like everything else.
 *  7. Trusted machines only: a sandbox listens on 127.0.0.1, without authentication.
 */
#ifndef VELKAR_SANDBOX_H
#define VELKAR_SANDBOX_H

#include <stddef.h>

/* Only the build of the library itself has something to say here. */
#ifndef VELKAR_SANDBOX_API
#define VELKAR_SANDBOX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A sandbox that runs. */
typedef struct VelkarSandbox VelkarSandbox;

/* Gets each line that velkar-sandbox would show on its console, without a line end. Called on the thread that
 * starts the sandbox, and then on the sandbox's own thread, which waits for its return: no function below may
 * be called inside. The line belongs to the sandbox and ends with the call. context is what Start was given.
 */
typedef void (*VelkarSandboxLog)(void* context, const char* line);

/* Starts a sandbox. It listens when the call returns. options is a JSON object, or null for none:
 *
 *   "seed"            "demo" (so unless given), "none", the path of a seed file, or the seed itself
 *   "port"            of the connectors, 0 for any free one (so unless given)
 *   "httpPort"        of the HTTP interface and the page; likewise. false: no HTTP interface
 *   "db"              path of an SQLite file; in memory unless given
 *   "answerDelay"     milliseconds before an answer leaves; 0 unless given
 *   "saveOnPurchase"  true: the game is asked to save each purchase of a receiver who is checked in
 *   "verbose"         true: the log has heartbeats too, and messages at length
 *   "logFile"         path of a file that gets the lines of the log
 *
 * log may be null. On failure the result is null, and errorText, of errorSize bytes, holds what is wrong, cut
 * to fit and ended by a NUL; it may be null. On success errorText is empty. */
VELKAR_SANDBOX_API VelkarSandbox* VelkarSandboxStart(const char* options, VelkarSandboxLog log, void* context,
                                                     char* errorText, size_t errorSize);

/* Closes all links, ends all threads and frees the sandbox with all of its texts; takes up to about a second.
 * A null sandbox is left alone. */
VELKAR_SANDBOX_API void VelkarSandboxStop(VelkarSandbox* sandbox);

/* The ports that it listens on, at 127.0.0.1. The second one is 0 without an HTTP interface. */
VELKAR_SANDBOX_API int VelkarSandboxPort(const VelkarSandbox* sandbox);
VELKAR_SANDBOX_API int VelkarSandboxHttpPort(const VelkarSandbox* sandbox);

/* The text that the calling thread's last call on this sandbox has left; see 2. Never null; empty for a null
 * sandbox and before the first call. This call itself leaves none. */
VELKAR_SANDBOX_API const char* VelkarSandboxAnswer(VelkarSandbox* sandbox);

/* Writes VelkarConnectorConfig.tl2 with the address of this sandbox into the folder; null is the folder of
 * the program's own file, where the connector looks for it. A file of that name is replaced. 1: done; the
 * answer is {"file": its path}. */
VELKAR_SANDBOX_API int VelkarSandboxWriteSettings(VelkarSandbox* sandbox, const char* folder);

/* Does what a route of the HTTP interface does, without HTTP: request is "POST /fault" or
 * "GET /orders?user=alice", body its JSON or null. Returns the route's status, 200 after a success; 0 if
 * nothing was asked, or no answer has come in 75 seconds. */
VELKAR_SANDBOX_API int VelkarSandboxAsk(VelkarSandbox* sandbox, const char* request, const char* body);

/* Has the sandbox send something to a game: the route POST /trigger/<name>. Waits for the answer of a game
 * that has to give one, which the answer holds. 1: done. */
VELKAR_SANDBOX_API int VelkarSandboxTrigger(VelkarSandbox* sandbox, const char* name, const char* arguments);

/* Orders a fault: POST /fault. The answer holds its "id". 1: done. */
VELKAR_SANDBOX_API int VelkarSandboxFault(VelkarSandbox* sandbox, const char* arguments);

/* Advances the time that the rules go by: POST /clock. 1: done, and what is due by then has happened. */
VELKAR_SANDBOX_API int VelkarSandboxAdvance(VelkarSandbox* sandbox, long long seconds);

/* The number of the last message so far, 0 before the first one: a mark for VelkarSandboxExpect. Messages of
 * both directions are numbered from 1 in the order in which they pass. */
VELKAR_SANDBOX_API long long VelkarSandboxMark(VelkarSandbox* sandbox);

/* Looks for the first message of the class, as "XC2S_CheckInReq", that has a number above `after` and whose
 * fields have the values of the JSON object `fields`, which may be null. Waits for it at most that many
 * milliseconds. What has passed before the call counts as well, so that asking late misses nothing: the
 * sandbox keeps all messages since its start, up to 100,000 of them or 64 MiB, then drops the oldest. Returns
 * the number of the message, and the answer is the message as GET /messages has it; 0 if there is none. An
 * answer of the sandbox that a fault has dropped counts as well and has "faults". */
VELKAR_SANDBOX_API long long VelkarSandboxExpect(VelkarSandbox* sandbox, const char* messageClass,
                                                 const char* fields, int milliseconds, long long after);

#ifdef __cplusplus
}
#endif

#endif
