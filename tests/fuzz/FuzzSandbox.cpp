// The bytes of a hostile game server into the stand-in service: frames, messages, and what the service does
// on a database in memory.
#include <asio/io_context.hpp>
#include <cstdlib>

#include "sandbox/seed/Seed.h"
#include "sandbox/service/Service.h"
#include "wirova/messages/MessageCatalog.h"

// Known to programs that are built with AddressSanitizer.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

using namespace Sandbox;

// A message that has been loaded takes at most so many times its bytes, and a little for itself.
constexpr std::size_t kMostGrowth = 40, kOwnSize = 64 << 10;
constexpr int kInputsOfADatabase = 500;

void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

class StillClock final : public IClock {
public:
    std::int64_t Milliseconds() const override { return 1000; }
    std::time_t Now() const override { return 1'800'000'000; }
};

StreamPtr StreamOf(const std::string& strBytes)
{
    StreamPtr stream = MakeStream();
    Strova::Write(stream.get(), strBytes.data(), static_cast<int>(strBytes.size()));
    return stream;
}

std::string BytesOf(Wirova::Stream* pStream)
{
    std::string strBytes(static_cast<std::size_t>(Strova::GetLength(pStream)), '\0');
    Strova::Peek(pStream, strBytes.data(), static_cast<int>(strBytes.size()));
    return strBytes;
}

std::size_t Allocated()
{
    return __sanitizer_get_current_allocated_bytes ? __sanitizer_get_current_allocated_bytes() : 0;
}

// What loads gives the same bytes again, except that a text of negative length becomes an empty one.
void LoadAndSave(const std::string& strBody)
{
    const StreamPtr body = StreamOf(strBody);
    const auto msg = Wirova::MakeMessage(PeekMsgID(body.get()));
    if (msg == nullptr)
        return;
    const std::size_t nBefore = Allocated();
    try {
        LoadBody(*msg, body.get());
    } catch (const ProtocolError&) {
        return;
    }
    Require(Allocated() <= nBefore + kMostGrowth * strBody.size() + kOwnSize);
    const std::string strAgain = FrameOf(*msg).substr(4);
    Require(strAgain.size() == strBody.size());
    bool bNegative = false;
    for (std::size_t n = 0; n < strBody.size(); ++n) {
        bNegative |= static_cast<unsigned char>(strBody[n]) >= 0x80;
        Require(strAgain[n] == strBody[n] || (bNegative && strAgain[n] == '\0'));
    }
}

// What it is sent has to be one frame, of a message that loads.
class FuzzLink final : public Link {
public:
    FuzzLink() : Link("hostile", 1000) {}
    void Post(std::string strBytes, const Delivery&) override
    {
        const StreamPtr frame = StreamOf(strBytes);
        const StreamPtr body = TakeBody(frame.get());
        Require(body != nullptr && Strova::GetLength(frame.get()) == 0);
        LoadBody(*Wirova::MakeMessage(PeekMsgID(body.get())), body.get());
    }
    void Close(const std::string&) override { m_bOpen = false; }
};

class Stand {
public:
    Stand()
    {
        Plant(m_store, GetSeed("demo"), m_clock.Now());
        m_log.Clear();
    }
    ~Stand() { m_timers.CancelAll(); }
    void Serve(Link& link, const std::string& strBytes)
    {
        const StreamPtr stream = StreamOf(strBytes);
        link.Guard([&] {
            while (link.IsOpen()) {
                const StreamPtr body = TakeBody(stream.get());
                if (body == nullptr)
                    break;
                LoadAndSave(BytesOf(body.get()));
                m_service.Handle(link, body.get());
            }
        });
        m_requests.OnClosed(link);
        m_registry.Detach(link);
        m_service.Sweep();
        m_log.Clear();
    }

private:
    const StillClock m_clock;
    const Console m_console{Verbosity::Quiet, [](const std::string&) {}};
    asio::io_context m_context;
    Store m_store{"", m_clock.Now()};
    ConnectorRegistry m_registry{m_store, m_clock};
    MessageLog m_log{m_console};
    Faults m_faults;
    Timers m_timers{m_context};
    Traffic m_traffic{m_log, m_faults, m_timers, {}};
    GameRequests m_requests{m_traffic, m_timers};
    Courier m_courier{m_store, m_registry, m_traffic, m_requests, m_timers, m_console};
    Service m_service{m_store, m_registry, m_traffic, m_requests, m_courier, m_log, m_console, m_clock, true};
};

}  // namespace

// A game server that has registered; the first byte cuts the registration away if it is odd.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    static std::unique_ptr<Stand> s_pStand;
    static int s_nInputs = 0;
    if (s_nInputs++ % kInputsOfADatabase == 0)
        s_pStand = std::make_unique<Stand>();
    if (nSize == 0)
        return 0;
    XC2S_VelkarConnectReq registration;
    registration.strGID = "GAME";
    const std::string strFirst = pData[0] % 2 == 0 ? FrameOf(registration) : "";
    const auto pLink = std::make_shared<FuzzLink>();
    s_pStand->Serve(*pLink, strFirst + std::string(reinterpret_cast<const char*>(pData + 1), nSize - 1));
    return 0;
}
