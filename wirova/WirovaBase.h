// The wire's types, the base of all messages and records, and the table that maps a message id to its
// handler. This folder knows byte streams and nothing of sockets, threads, settings or waiters.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/Strova.h"

namespace Wirova {

using Stream = Strova::_THandle;
using int32 = std::int32_t;
using int64 = std::int64_t;
using string = std::string;

// A flag of the wire: one byte that is kept as it came. A received 2 stays 2, which a C++ bool cannot hold.
// As a condition, every byte but 0 is true.
struct boolean {
    std::uint8_t nByte = 0;
    boolean() = default;
    boolean(bool b) : nByte(b) {}
    static boolean FromByte(unsigned char n)
    {
        boolean b;
        b.nByte = n;
        return b;
    }
    explicit operator bool() const { return nByte != 0; }
};

template <class T>
class RecordVector;

// A message, or a record that travels inside a message's vector. The derived classes are lists of fields
// (Message.h). A message lives on one thread's stack and owns the records in its vectors.
class IMessage {
public:
    // The type names that the lists of fields use.
    using int32 = Wirova::int32;
    using int64 = Wirova::int64;
    using string = Wirova::string;
    using boolean = Wirova::boolean;
    template <class T>
    using vector = std::conditional_t<std::is_base_of_v<IMessage, T>, RecordVector<T>, std::vector<T>>;

    virtual ~IMessage() = default;
    // Every field but bNested and nMsgID becomes zero or empty.
    virtual void Clear() = 0;
    virtual int32 GetMsgID() const = 0;          // the class's constant
    virtual const char* GetMsgName() const = 0;  // the class's name
    virtual int32 GetSize() const = 0;           // bytes that Save would write now
    // Write or read the fields in wire order. False at the first that fails; what has been written to the
    // stream, or taken off it, by then is not undone.
    virtual bool Save(Stream* stream) const = 0;
    virtual bool Load(Stream* stream) = 0;
    // While a record is nested, as in a vector, GetSize, Save and Load leave nMsgID out.
    virtual void SetNested(bool bNested) = 0;
    virtual bool IsNested() const = 0;

    IMessage(const IMessage&) = delete;  // a message owns its records and is never copied
    IMessage& operator=(const IMessage&) = delete;

protected:
    IMessage() = default;
};

// A message's vector of records: pointers to records that the vector owns and deletes, the last one first.
template <class T>
class RecordVector {
public:
    using value_type = T;
    RecordVector() = default;
    RecordVector(const RecordVector&) = delete;
    RecordVector& operator=(const RecordVector&) = delete;
    ~RecordVector() { clear(); }

    // Appends the record, by default a new one, and returns it.
    T& Add(std::unique_ptr<T> rec = std::make_unique<T>())
    {
        m_vec.push_back(rec.get());
        return *rec.release();
    }
    void clear()
    {
        for (; !m_vec.empty(); m_vec.pop_back())
            delete m_vec.back();
    }
    void reserve(std::size_t n) { m_vec.reserve(n); }

    std::size_t size() const { return m_vec.size(); }
    bool empty() const { return m_vec.empty(); }
    T* operator[](std::size_t i) const { return m_vec[i]; }
    auto begin() const { return m_vec.begin(); }
    auto end() const { return m_vec.end(); }

private:
    std::vector<T*> m_vec;
};

// A handler gets the stream with the message at its front, the context of its registration and the parameter
// of the dispatch. Its result becomes the result of Dispatch.
using MsgHandler = bool (*)(Stream* stream, void* pContext, void* pParam);

// Maps message ids to handlers. No lock: the table is filled before the first dispatch and only read
// afterwards.
class CMsgHandlerTable {
public:
    // False, and no change, if the id is registered already.
    bool RegisterHandler(int32 nMsgID, MsgHandler handler, void* pContext);
    // The handler of all ids that are not registered. Without it Dispatch returns false for such an id.
    void SetDefaultHandler(MsgHandler handler, void* pContext) { m_default = {handler, pContext}; }
    // Runs the handler of the id at the front of the stream. The handler takes id and message off the stream.
    // False, with the stream as it is, if fewer than 4 bytes are there or no handler is found.
    bool Dispatch(Stream* stream, void* pParam) const;

private:
    struct Target {
        MsgHandler handler = nullptr;
        void* pContext = nullptr;
    };
    struct Entry {
        int32 nMsgID;
        Target target;
    };
    std::vector<Entry> m_vecEntries;
    Target m_default;
};

}  // namespace Wirova
