// The functions of VelkarSandbox.h: what they have in common, and what each of them asks.
#include "sandbox/capi/VelkarSandbox.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/Host.h"
#include "sandbox/base/Files.h"
#include "sandbox/base/Printable.h"
#include "sandbox/capi/Embedded.h"
#include "sandbox/wire/AnyMessage.h"

using namespace Sandbox;

struct VelkarSandbox {
    Embedded embedded;
};

namespace {

void CopyError(const char* pszError, char* pText, std::size_t nSize)
{
    if (pText == nullptr || nSize == 0)
        return;
    const std::size_t nLength = std::min(std::strlen(pszError), nSize - 1);
    std::memcpy(pText, pszError, nLength);
    pText[nLength] = '\0';
}

// A text that does not find memory any more leaves the one before.
void SetError(VelkarSandbox* sandbox, const char* pszError) noexcept
{
    try {
        sandbox->embedded.SetAnswer(DumpJson({{"error", pszError}}));
    } catch (...) {
    }
}

// Runs work(the embedded sandbox). What it throws becomes an error, and the result is 0.
template <class Work>
auto Guarded(VelkarSandbox* sandbox, const Work& work) noexcept -> decltype(work(sandbox->embedded))
{
    if (sandbox == nullptr)
        return {};
    try {
        return work(sandbox->embedded);
    } catch (const std::exception& e) {
        SetError(sandbox, e.what());
    } catch (...) {
        SetError(sandbox, "unknown failure");
    }
    return {};
}

std::string Required(const char* pszText, const char* pszName)
{
    if (pszText == nullptr)
        throw std::invalid_argument(std::string(pszName) + " is NULL.");
    return pszText;
}

int Ask(Embedded& embedded, const std::string& strRequest, const std::string& strBody)
{
    HttpReply reply = embedded.Ask(strRequest, strBody);
    embedded.SetAnswer(std::move(reply.strBody));
    return reply.nStatus;
}

int Post(Embedded& embedded, const std::string& strPath, const std::string& strBody)
{
    return Ask(embedded, "POST " + strPath, strBody) == 200 ? 1 : 0;
}

}  // namespace

VelkarSandbox* VelkarSandboxStart(const char* options, VelkarSandboxLog log, void* context, char* errorText,
                                  size_t errorSize)
{
    CopyError("", errorText, errorSize);
    try {
        Embedded::Sink sink;
        if (log != nullptr)
            sink = [=](const std::string& strLine) {
                try {
                    log(context, strLine.c_str());
                } catch (...) {  // of a test in C++
                }
            };
        return new VelkarSandbox{{ReadEmbeddedOptions(options != nullptr ? options : "{}"), std::move(sink)}};
    } catch (const std::exception& e) {
        CopyError(e.what(), errorText, errorSize);
    } catch (...) {
        CopyError("unknown failure", errorText, errorSize);
    }
    return nullptr;
}

void VelkarSandboxStop(VelkarSandbox* sandbox) { delete sandbox; }

int VelkarSandboxPort(const VelkarSandbox* sandbox)
{
    return sandbox != nullptr ? sandbox->embedded.GetServer().GetPort() : 0;
}

int VelkarSandboxHttpPort(const VelkarSandbox* sandbox)
{
    return sandbox != nullptr ? sandbox->embedded.GetServer().GetHttpPort() : 0;
}

const char* VelkarSandboxAnswer(VelkarSandbox* sandbox)
{
    const char* const pszAnswer = Guarded(sandbox, [](Embedded& embedded) { return embedded.GetAnswer(); });
    return pszAnswer != nullptr ? pszAnswer : "";
}

int VelkarSandboxWriteSettings(VelkarSandbox* sandbox, const char* folder)
{
    return Guarded(sandbox, [&](Embedded& embedded) {
        const auto path =
            PathOf(folder != nullptr ? folder : Host::GetExecutableDirectory()) / "VelkarConnectorConfig.tl2";
        std::ofstream file(path, std::ios::trunc);
        file << SettingsText(embedded.GetServer().GetPort());
        file.close();
        if (!file)
            throw StartError("The file '" + TextOf(path) + "' cannot be written.");
        embedded.SetAnswer(DumpJson({{"file", TextOf(path)}}));
        return 1;
    });
}

int VelkarSandboxAsk(VelkarSandbox* sandbox, const char* request, const char* body)
{
    return Guarded(sandbox, [&](Embedded& embedded) {
        return Ask(embedded, Required(request, "The request"), body != nullptr ? body : "");
    });
}

int VelkarSandboxTrigger(VelkarSandbox* sandbox, const char* name, const char* arguments)
{
    return Guarded(sandbox, [&](Embedded& embedded) {
        return Post(embedded, "/trigger/" + Required(name, "The name"),
                    Required(arguments, "The text of the arguments"));
    });
}

int VelkarSandboxFault(VelkarSandbox* sandbox, const char* arguments)
{
    return Guarded(sandbox, [&](Embedded& embedded) {
        return Post(embedded, "/fault", Required(arguments, "The text of the arguments"));
    });
}

int VelkarSandboxAdvance(VelkarSandbox* sandbox, long long seconds)
{
    return Guarded(sandbox, [&](Embedded& embedded) {
        return Post(embedded, "/clock", DumpJson({{"seconds", seconds}}));
    });
}

long long VelkarSandboxMark(VelkarSandbox* sandbox)
{
    return Guarded(
        sandbox, [](Embedded& embedded) { return static_cast<long long>(embedded.GetJournal().GetLast()); });
}

long long VelkarSandboxExpect(VelkarSandbox* sandbox, const char* messageClass, const char* fields,
                              int milliseconds, long long after)
{
    return Guarded(sandbox, [&](Embedded& embedded) -> long long {
        const std::string strClass = Required(messageClass, "The class");
        if (FindClassByName(strClass) == nullptr)
            throw JsonError("There is no class '" + Printable(strClass) + "'.");
        const Json wanted = Json::parse(fields != nullptr ? fields : "{}", nullptr, false);
        if (!wanted.is_object())
            throw JsonError("The fields are no JSON object.");
        const auto found =
            embedded.GetJournal().Expect(strClass, wanted, std::chrono::milliseconds(milliseconds),
                                         static_cast<std::uint64_t>(std::max(after, 0LL)));
        embedded.SetAnswer(found.nNumber != 0 ? found.strText : DumpJson({{"error", found.strText}}));
        return static_cast<long long>(found.nNumber);
    });
}
