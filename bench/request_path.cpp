// The way of a request, beside a yardstick that does the same exchange with the least that it takes: N
// callers on one socket, each of which writes its frame and sleeps until a plain reader thread has its
// answer. Rounds of the library and of the yardstick take turns, each in a process of its own against a
// service in a third one; the ratio and the context switches are medians over the rounds.
//
//   bench_request_path [rounds, 7 unless given] [milliseconds of a round, 1000 unless given] [rows with this
//   text]
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>

#include "VelkarConnector.h"
#include "bench/AtOnceService.h"
#include "platform/Host.h"
#include "tests/support/Settings.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Result {
    double dRate = 0;      // requests a second
    double dSwitches = 0;  // of the client's process, a request
    long nOvertaken = 0;   // answers that came before their caller waited
    long nRequests = 0;
};

struct Row {
    const char* pszName;
    int nCallers;
    bool bOneCore;
    const char* pszLevel;  // of the library's log
};

// ---- the yardstick ----

class PlainClient {
public:
    explicit PlainClient(unsigned short nPort) : m_socket(m_context)
    {
        m_socket.connect({asio::ip::address_v4::loopback(), nPort});
        m_socket.set_option(asio::ip::tcp::no_delay(true));
        m_reader = std::thread([this] { Read(); });
    }
    ~PlainClient()
    {
        m_socket.shutdown(asio::ip::tcp::socket::shutdown_both);
        m_reader.join();
    }

    // A checkin or a checkout, whose frames are those of the library.
    template <class Request>
    void Exchange(int nCaller)
    {
        Waiter& waiter = *m_vecWaiters[static_cast<std::size_t>(nCaller)];
        Request req;
        req.nReqID = nCaller;
        req.strUserID = "user" + std::to_string(nCaller);
        if constexpr (requires { req.strUserIP; })
            req.strUserIP = "10.0.0.1";
        else
            req.strSeqNo = "1";
        Strova::_THandle* const pStream = Strova::CreateHandle();
        Wirova::WriteFrame(pStream, req);
        char szFrame[256];
        const int nLength = Strova::Read(pStream, szFrame, sizeof(szFrame));
        Strova::DestroyHandle(pStream);
        {
            const std::lock_guard lock(m_writing);
            asio::write(m_socket, asio::buffer(szFrame, static_cast<std::size_t>(nLength)));
        }
        std::unique_lock lock(waiter.mutex);
        waiter.cond.wait(lock, [&] { return std::exchange(waiter.bAnswered, false); });
    }
    void AddCallers(int nCallers)
    {
        for (int n = 0; n < nCallers; ++n)
            m_vecWaiters.push_back(std::make_unique<Waiter>());
    }

private:
    struct Waiter {
        std::mutex mutex;
        std::condition_variable cond;
        bool bAnswered = false;
    };

    void Read()
    {
        std::vector<char> vecBytes(64 << 10);
        std::size_t nHeld = 0;
        for (;;) {
            asio::error_code ended;
            nHeld +=
                m_socket.read_some(asio::buffer(vecBytes.data() + nHeld, vecBytes.size() - nHeld), ended);
            if (ended)
                return;
            std::size_t nDone = 0;
            while (nHeld - nDone >= 12) {
                const auto number = [&](std::size_t nOffset) {
                    unsigned char arr[4];
                    std::memcpy(arr, vecBytes.data() + nDone + nOffset, 4);
                    return static_cast<std::size_t>(Wirova::GetBigEndian<Wirova::int32>(arr));
                };
                if (nHeld - nDone - 4 < number(0))
                    break;
                Waiter& waiter = *m_vecWaiters[number(8)];
                nDone += 4 + number(0);
                const std::lock_guard lock(waiter.mutex);
                waiter.bAnswered = true;
                waiter.cond.notify_one();
            }
            std::memmove(vecBytes.data(), vecBytes.data() + nDone, nHeld - nDone);
            nHeld -= nDone;
        }
    }

    asio::io_context m_context;
    asio::ip::tcp::socket m_socket;
    std::mutex m_writing;
    std::vector<std::unique_ptr<Waiter>> m_vecWaiters;
    std::thread m_reader;
};

// ---- the library ----

bool StartLibrary(unsigned short nPort, const Row& row)
{
    const std::string strDirectory = Host::GetExecutableDirectory();
    Support::Settings settings;
    settings.nServerPort = nPort;
    std::ofstream(strDirectory + "/" + Support::kLogSettingsFile)
        << "level = " << row.pszLevel << "\nfile = bench_request_path.log\n";
    settings.WriteTo(strDirectory);
    const _CONNECTOR_ID id{"GAME", "SERVER", "WORLD"};
    const _CONNECTOR_CALLBACKS callbacks{};
    char szError[1025];
    if (InitModule(&id, &callbacks, szError, sizeof(szError)))
        return true;
    std::fprintf(stderr, "No start: %s\n", szError);
    return false;
}

// True if the answer came before its caller waited: the call then says at once that it has timed out.
template <class Response>
bool IsOvertaken(const Response& res)
{
    return std::strstr(res.szError, "because of timeout.") != nullptr;
}

// ---- a round ----

// Lets the callers work for that time. exchange(nCaller, nNumber) is one request; true if it was overtaken.
Result Measure(const Row& row, int nMilliseconds, const std::function<bool(int, long)>& exchange)
{
    std::atomic<bool> bCounting{false}, bEnd{false};
    std::atomic<long> nRequests{0}, nOvertaken{0};
    std::vector<std::thread> vecCallers;
    for (int nCaller = 0; nCaller < row.nCallers; ++nCaller) {
        vecCallers.emplace_back([&, nCaller] {
            for (long n = 0; !bEnd.load(std::memory_order_relaxed) || n % 2 != 0; ++n) {
                const bool bOvertaken = exchange(nCaller, n);
                if (bCounting.load(std::memory_order_relaxed))
                    ++nRequests;
                nOvertaken += bOvertaken ? 1 : 0;
            }
        });
    }
    const auto switches = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_nvcsw + usage.ru_nivcsw;
    };
    std::this_thread::sleep_for(std::chrono::milliseconds(nMilliseconds / 5));
    bCounting = true;
    const long nBefore = switches();
    const auto begin = Clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(nMilliseconds));
    bCounting = false;
    const double dSeconds = std::chrono::duration<double>(Clock::now() - begin).count();
    const long nSwitches = switches() - nBefore;
    bEnd = true;
    for (std::thread& caller : vecCallers)
        caller.join();
    const auto dRequests = static_cast<double>(nRequests.load());
    return {dRequests / dSeconds, static_cast<double>(nSwitches) / dRequests, nOvertaken.load(),
            nRequests.load()};
}

Result RunLibrary(const Row& row, unsigned short nPort, int nMilliseconds)
{
    if (!StartLibrary(nPort, row))
        std::_Exit(1);
    const Result result = Measure(row, nMilliseconds, [](int nCaller, long n) {
        _USER_REQ req{};
        std::snprintf(req.szUserID, sizeof(req.szUserID), "user%d", nCaller);
        std::snprintf(req.szUserIP, sizeof(req.szUserIP), "10.0.0.1");
        if (n % 2 == 0) {
            _CHECKIN_RES res;
            Checkin(&req, &res);
            return IsOvertaken(res);
        }
        _RESULT_RES res;
        Checkout(&req, &res);
        return IsOvertaken(res);
    });
    UninitModule();
    return result;
}

Result RunPlain(const Row& row, unsigned short nPort, int nMilliseconds)
{
    PlainClient client(nPort);
    client.AddCallers(row.nCallers);
    return Measure(row, nMilliseconds, [&client](int nCaller, long n) {
        if (n % 2 == 0)
            client.Exchange<XC2S_CheckInReq>(nCaller);
        else
            client.Exchange<XC2S_CheckOutReq>(nCaller);
        return false;
    });
}

// ---- processes ----

void UseOneCore()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(0, &set);
    sched_setaffinity(0, sizeof(set), &set);
}

// Runs the body in a process of its own and gives what it returns.
template <class T>
T InProcess(const Row& row, const std::function<T()>& body)
{
    int arrEnds[2];
    if (pipe(arrEnds) != 0)
        std::exit(1);
    const pid_t nProcess = fork();
    if (nProcess == 0) {
        if (row.bOneCore)
            UseOneCore();
        const T result = body();
        std::_Exit(write(arrEnds[1], &result, sizeof(result)) == sizeof(result) ? 0 : 1);
    }
    T result{};
    close(arrEnds[1]);
    const bool bRead = read(arrEnds[0], &result, sizeof(result)) == sizeof(result);
    close(arrEnds[0]);
    waitpid(nProcess, nullptr, 0);
    if (!bRead)
        std::exit((std::fprintf(stderr, "A round has failed.\n"), 1));
    return result;
}

// A service on the same cores as the clients of the row, until the end of this object.
class ServiceProcess {
public:
    explicit ServiceProcess(const Row& row)
    {
        int arrEnds[2];
        if (pipe(arrEnds) != 0)
            std::exit(1);
        m_nProcess = fork();
        if (m_nProcess == 0) {
            if (row.bOneCore)
                UseOneCore();
            const Bench::AtOnceService service;
            const unsigned short nPort = service.Port();
            if (write(arrEnds[1], &nPort, sizeof(nPort)) != sizeof(nPort))
                std::_Exit(1);
            for (;;)
                pause();
        }
        if (read(arrEnds[0], &m_nPort, sizeof(m_nPort)) != sizeof(m_nPort))
            std::exit(1);
        close(arrEnds[0]);
        close(arrEnds[1]);
    }
    ~ServiceProcess()
    {
        kill(m_nProcess, SIGKILL);
        waitpid(m_nProcess, nullptr, 0);
    }
    unsigned short Port() const { return m_nPort; }

private:
    pid_t m_nProcess;
    unsigned short m_nPort = 0;
};

double Median(std::vector<double> vec)
{
    std::sort(vec.begin(), vec.end());
    return vec[vec.size() / 2];
}

void MeasureRow(const Row& row, int nRounds, int nMilliseconds)
{
    std::vector<double> vecRatios, vecPlain, vecLibrary, vecPlainSwitches, vecLibrarySwitches;
    long nOvertaken = 0, nRequests = 0;
    const ServiceProcess service(row);
    for (int n = 0; n < nRounds; ++n) {
        const auto plain =
            InProcess<Result>(row, [&] { return RunPlain(row, service.Port(), nMilliseconds); });
        const auto library =
            InProcess<Result>(row, [&] { return RunLibrary(row, service.Port(), nMilliseconds); });
        vecRatios.push_back(library.dRate / plain.dRate);
        vecPlain.push_back(plain.dRate);
        vecLibrary.push_back(library.dRate);
        vecPlainSwitches.push_back(plain.dSwitches);
        vecLibrarySwitches.push_back(library.dSwitches);
        nOvertaken += library.nOvertaken;
        nRequests += library.nRequests;
    }
    std::printf("%-22s %-6s | %9.0f %9.0f | %5.2f  (%.2f to %.2f) | %6.2f %6.2f | %ld of %ld\n", row.pszName,
                row.pszLevel, Median(vecPlain), Median(vecLibrary), Median(vecRatios),
                *std::min_element(vecRatios.begin(), vecRatios.end()),
                *std::max_element(vecRatios.begin(), vecRatios.end()), Median(vecPlainSwitches),
                Median(vecLibrarySwitches), nOvertaken, nRequests);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv)
{
    const int nRounds = argc > 1 ? std::atoi(argv[1]) : 7;
    const int nMilliseconds = argc > 2 ? std::atoi(argv[2]) : 1000;
    const char* const pszWanted = argc > 3 ? argv[3] : "";
    std::printf("%-22s %-6s | %9s %9s | %-20s | %13s | %s\n", "", "log", "plain/s", "library/s", "ratio",
                "switches", "overtaken");
    for (const char* const pszLevel : {"Error", "Info"}) {
        for (const Row& row :
             {Row{"1 caller, one core", 1, true, pszLevel}, Row{"8 callers", 8, false, pszLevel},
              Row{"64 callers", 64, false, pszLevel}, Row{"64 callers, one core", 64, true, pszLevel}})
            if (std::strstr(row.pszName, pszWanted) != nullptr)
                MeasureRow(row, nRounds, nMilliseconds);
    }
    return 0;
}
