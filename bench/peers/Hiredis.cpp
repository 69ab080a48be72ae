// hiredis: one context for all callers, against redis-server. A context is not safe for several threads, but
// its two halves have nothing in common: the callers write their commands under a lock, and a reader thread
// takes the replies off. Replies come in the order of the commands and have no numbers, so the callers wait
// in a queue.
#include <arpa/inet.h>
#include <hiredis/hiredis.h>

#include <condition_variable>
#include <deque>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <utility>

#include "bench/peers/Peer.h"

namespace Peers {

namespace {

// A port that was free a moment ago: redis-server does not choose one by itself.
unsigned short FreePort()
{
    const int nSocket = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t nLength = sizeof(address);
    if (bind(nSocket, reinterpret_cast<sockaddr*>(&address), nLength) != 0 ||
        getsockname(nSocket, reinterpret_cast<sockaddr*>(&address), &nLength) != 0)
        Bench::Fail("There is no free port.");
    close(nSocket);
    return ntohs(address.sin_port);
}

// Keeps nothing on the disk.
void Serve(const Bench::ServiceProcess::Ready& ready)
{
    const unsigned short nPort = FreePort();
    ready(nPort);
    execlp("redis-server", "redis-server", "--port", std::to_string(nPort).c_str(), "--bind", "127.0.0.1",
           "--save", "", "--appendonly", "no", "--logfile", "/dev/null", nullptr);
    Bench::Fail("redis-server does not start.");
}

using Command = std::initializer_list<std::string>;
using Reply = std::unique_ptr<redisReply, decltype(&freeReplyObject)>;

class Client {
public:
    // redis-server may still be starting.
    explicit Client(unsigned short nPort)
    {
        for (int n = 0; n < 500; ++n) {
            m_pContext.reset(redisConnect("127.0.0.1", nPort));
            if (m_pContext && m_pContext->err == 0)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (!m_pContext || m_pContext->err != 0)
            Bench::Fail("redis-server cannot be reached.");
        m_reader = std::thread([this] { Read(); });
    }
    ~Client()
    {
        m_bEnd = true;
        shutdown(m_pContext->fd, SHUT_RDWR);
        m_reader.join();
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    Reply Call(const Command& command)
    {
        std::vector<const char*> vecTexts;
        std::vector<std::size_t> vecLengths;
        for (const std::string& str : command) {
            vecTexts.push_back(str.c_str());
            vecLengths.push_back(str.size());
        }
        char* pszCommand = nullptr;
        const int nLength = redisFormatCommandArgv(&pszCommand, static_cast<int>(vecTexts.size()),
                                                   vecTexts.data(), vecLengths.data());
        Waiter waiter;
        {
            const std::lock_guard lock(m_writing);
            Enqueue(waiter);
            redisAppendFormattedCommand(m_pContext.get(), pszCommand, static_cast<std::size_t>(nLength));
            for (int bDone = 0; bDone == 0;) {
                if (redisBufferWrite(m_pContext.get(), &bDone) != REDIS_OK)
                    Bench::Fail("redis-server takes no command.");
            }
        }
        redisFreeCommand(pszCommand);
        std::unique_lock lock(waiter.mutex);
        waiter.cond.wait(lock, [&] { return waiter.pReply != nullptr; });
        return {waiter.pReply, &freeReplyObject};
    }

private:
    struct Waiter {
        std::mutex mutex;
        std::condition_variable cond;
        redisReply* pReply = nullptr;
    };
    struct Free {
        void operator()(redisContext* p) const { redisFree(p); }
    };

    void Enqueue(Waiter& waiter)
    {
        const std::lock_guard lock(m_queue);
        m_deqWaiters.push_back(&waiter);
    }
    void Read()
    {
        while (redisBufferRead(m_pContext.get()) == REDIS_OK) {
            void* pReply = nullptr;
            while (redisReaderGetReply(m_pContext->reader, &pReply) == REDIS_OK && pReply != nullptr)
                Wake(static_cast<redisReply*>(pReply));
        }
        if (!m_bEnd)
            Bench::Fail("redis-server has closed the connection.");
    }
    void Wake(redisReply* pReply)
    {
        std::unique_lock queue(m_queue);
        Waiter& waiter = *m_deqWaiters.front();
        m_deqWaiters.pop_front();
        queue.unlock();
        const std::lock_guard lock(waiter.mutex);
        waiter.pReply = pReply;
        waiter.cond.notify_one();
    }

    std::unique_ptr<redisContext, Free> m_pContext;
    std::atomic<bool> m_bEnd{false};
    std::mutex m_writing;  // of the callers; taken before m_queue
    std::mutex m_queue;
    std::deque<Waiter*> m_deqWaiters;
    std::thread m_reader;
};

// A checkin asks for the values of a hash, which are those of an answer; a checkout sets a value.
Bench::Result Run(int nCallers, unsigned short nPort, int nMilliseconds)
{
    Client client(nPort);
    for (int nCaller = 0; nCaller < nCallers; ++nCaller) {
        const std::string strUser = UserOf(nCaller);
        client.Call({"DEL", "checkin:" + strUser});
        client.Call({"HSET",          "checkin:" + strUser,
                     "userID",        strUser,
                     "userNo",        "",
                     "userIP",        kAddress,
                     "result",        "0",
                     "free",          kFree,
                     "billType",      "0",
                     "productID",     std::to_string(kProductID),
                     "remainMinutes", std::to_string(kRemainMinutes),
                     "crmCode",       kCRMCode,
                     "endDate",       kEndDate,
                     "seqNo",         kSeqNo,
                     "errorMsg",      ""});
    }
    return Bench::Measure(nCallers, nMilliseconds, [&](int nCaller, long n) {
        const std::string strUser = UserOf(nCaller);
        const Reply pReply = n % 2 == 0 ? client.Call({"HVALS", "checkin:" + strUser})
                                        : client.Call({"SET", "checkout:" + strUser, kSeqNo});
        const bool bSuccess = n % 2 == 0 ? pReply->type == REDIS_REPLY_ARRAY && pReply->elements == 12
                                         : pReply->type == REDIS_REPLY_STATUS;
        if (!bSuccess)
            Bench::Fail("A command of redis has failed.");
        return false;
    });
}

}  // namespace

Peer Hiredis() { return {"hiredis", Serve, Run}; }

}  // namespace Peers
