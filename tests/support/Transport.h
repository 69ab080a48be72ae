// The bytes below a service in a test: connections that the library opens, whatever they are made of.
#pragma once

#include <string>

namespace Support {

class Transport {
public:
    // What happens on the connections, told on the transport's one thread. Connections are numbered
    // from 1 in the order in which they were opened.
    class Sink {
    public:
        virtual ~Sink() = default;
        virtual void OnOpen(int nConnection) = 0;
        virtual void OnBytes(int nConnection, std::string strBytes) = 0;
        virtual void OnClose(int nConnection, bool bAbruptly) = 0;
    };

    virtual ~Transport() = default;

    // Starts telling the sink, once. The sink outlives the transport's Stop.
    virtual void Start(Sink& sink) = 0;
    // Closes everything and ends the thread; nothing is told afterwards. Not from the sink.
    virtual void Stop() = 0;
    virtual unsigned short Port() const = 0;

    // The rest from any thread, also from the sink.
    // One delivery of these bytes, in the order of the calls. Nothing happens on a closed connection.
    virtual void Send(int nConnection, const std::string& strBytes) = 0;
    // Ends the connection: after what has been sent before has been read, or, abruptly, at once and
    // with the loss of it.
    virtual void Close(int nConnection, bool bAbruptly) = 0;
    // Whether connections are accepted from now on; on the same port again after a refusal.
    virtual void Accept(bool bAccept) = 0;
    // Bytes stay unread while reading is held, as with a peer that is stuck.
    virtual void HoldReading(bool bHold) = 0;
    // Not from the sink. Settle waits until everything that the transport knows of has been told;
    // WaitForSilence until everything has that the library has sent before the call.
    virtual void Settle() = 0;
    virtual void WaitForSilence() = 0;
};

}  // namespace Support
