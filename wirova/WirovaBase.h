// The base of all messages and records, and the table of handlers. Knows streams and nothing above.
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

// One byte of the wire, kept as it came: a received 2 stays 2, which a C++ bool cannot hold.
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

class IMessage {
public:
    // The words of the field lists.
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
    // Fields in wire order; false at the first that fails, and what has been written or read stays so.
    virtual bool Save(Stream* stream) const = 0;
    virtual bool Load(Stream* stream) = 0;
    // While nested, GetSize, Save and Load leave nMsgID out.
    virtual void SetNested(bool bNested) = 0;
    virtual bool IsNested() const = 0;

    IMessage(const IMessage&) = delete;  // a message owns its records and is never copied
    IMessage& operator=(const IMessage&) = delete;

protected:
    IMessage() = default;
};

// Pointers to records that the message owns; deleted last first.
template <class T>
class RecordVector {
public:
    using value_type = T;
    RecordVector() = default;
    RecordVector(const RecordVector&) = delete;
    RecordVector& operator=(const RecordVector&) = delete;
    ~RecordVector() { clear(); }

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
    // The record is not needed any more; its place stays, with null in it.
    void Drop(std::size_t i)
    {
        delete m_vec[i];
        m_vec[i] = nullptr;
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

// Takes the stream, the context of the registration and the parameter of the dispatch. What it
// returns is Dispatch's result.
using MsgHandler = bool (*)(Stream* stream, void* pContext, void* pParam);

class CMsgHandlerTable {
public:
    // False, and no change, if the id is registered already.
    bool RegisterHandler(int32 nMsgID, MsgHandler handler, void* pContext);
    // For ids that nobody has registered; none unless set.
    void SetDefaultHandler(MsgHandler handler, void* pContext) { m_default = {handler, pContext}; }
    // Runs the handler of the id at the front of the stream, which the handler takes off itself.
    // False with the stream as it is if there is no id or no handler.
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
