// Messages filled through the field walk, each field with a value of its own.
#pragma once

#include <string>

#include "wirova/messages/MessageCatalog.h"

// Gives every field the next value of a row, and every vector two elements.
class Filler {
public:
    void Fill(Wirova::IMessage& msg)
    {
        Wirova::VisitMessage(msg, [this](const char*, auto& v) { Set(v); });
    }

private:
    int Next() { return ++m_nNext; }

    void Set(Wirova::int32& v) { v = 0x01020300 + Next(); }
    void Set(Wirova::int64& v) { v = -0x0102030405060700 - Next(); }
    void Set(char& v) { v = static_cast<char>(0x80 | Next()); }
    void Set(Wirova::boolean& v) { v = Wirova::boolean::FromByte(static_cast<unsigned char>(1 + Next())); }
    void Set(std::string& v) { v = "\"\\\xE2\x82\xAC" + std::to_string(Next()); }
    template <class T>
    void Set(std::vector<T>& v)
    {
        v.resize(2);
        for (auto& e : v)
            Set(e);
    }
    void Set(Wirova::RecordList& v)
    {
        Fill(v.Add());
        Fill(v.Add());
    }

    int m_nNext = 0;
};

inline std::unique_ptr<Wirova::IMessage> MakeFilled(const Wirova::ClassInfo& info)
{
    auto msg = info.pfnMake();
    Filler().Fill(*msg);
    return msg;
}
