// The catalogue: one table row for each wire class, made from the lists in AllMessages.h, and the description
// of messages as text.
#include "wirova/messages/MessageCatalog.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include "wirova/messages/AllMessages.h"

namespace Wirova {

namespace {

// A vector of records T behind the interface without a type.
template <class T>
class RecordListOf final : public RecordList {
public:
    explicit RecordListOf(RecordVector<T>& vec) : m_vec(vec) {}
    std::size_t size() const override { return m_vec.size(); }
    IMessage& operator[](std::size_t i) const override { return *m_vec[i]; }
    IMessage& Add() override { return m_vec.Add(); }

private:
    RecordVector<T>& m_vec;
};

// Hands one field to the visitor; a vector of records goes as a RecordList.
template <class T>
void VisitField(FieldVisitor& visitor, const char* pszName, T& v)
{
    visitor.Field(pszName, v);
}
template <class T>
void VisitField(FieldVisitor& visitor, const char* pszName, RecordVector<T>& v)
{
    RecordListOf<T> list(v);
    visitor.Field(pszName, static_cast<RecordList&>(list));
}

template <class M>
std::unique_ptr<IMessage> Make()
{
    return std::make_unique<M>();
}

// The two functions of a table row: one makes an object of class M, one walks the fields of an object of
// class M.
template <class M>
bool Visit(IMessage& msg, FieldVisitor& visitor)
{
    M* const p = dynamic_cast<M*>(&msg);
    return p != nullptr && M::ForEachField(*p, [&](const char* pszName, auto& v) {
               VisitField(visitor, pszName, v);
               return true;
           });
}

#define TOP_LEVEL(cls) {cls::kMsgID, #cls, false, Make<cls>, Visit<cls>},
#define RECORD(cls) {cls::kMsgID, #cls, true, Make<cls>, Visit<cls>},
constexpr ClassInfo kClasses[] = {WIROVA_TOP_LEVEL_CLASSES(TOP_LEVEL) WIROVA_RECORD_CLASSES(RECORD)};
#undef TOP_LEVEL
#undef RECORD

// Found by the compiler: two classes with one id would answer for each other.
constexpr bool IdsAreUnique()
{
    for (const ClassInfo* p = std::begin(kClasses); p != std::end(kClasses); ++p) {
        if (std::any_of(std::begin(kClasses), p, [p](const auto& q) { return q.nMsgID == p->nMsgID; }))
            return false;
    }
    return true;
}
static_assert(IdsAreUnique(), "two classes with one id");

constexpr std::size_t kMaxText = 200;     // bytes of a text that are shown
constexpr std::size_t kMaxElements = 20;  // elements of a vector that are shown

// Control characters, quotes and backslashes are escaped, so that a description stays on one line.
void AppendCharacter(string& out, char c)
{
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u == 0x7F) {
        char szEscape[8];
        std::snprintf(szEscape, sizeof(szEscape), "\\x%02X", u);
        out += szEscape;
        return;
    }
    if (c == '"' || c == '\\')
        out += '\\';
    out += c;
}

// The visitor that writes "name: value" for each field. The bytes of a text are shown as they are, apart from
// the escapes; records are written like messages inside their vector.
class Describer final : public FieldVisitor {
public:
    Describer(string& out, Secrets secrets) : m_out(out), m_secrets(secrets) {}

    void Message(IMessage& msg)
    {
        m_out += msg.GetMsgName();
        m_out += " {";
        if (!VisitFields(msg, *this))
            m_out += " ?";
        m_out += " }";
    }

    void Field(const char* pszName, int32& v) override { Begin(pszName), Value(v); }
    void Field(const char* pszName, int64& v) override { Begin(pszName), Value(v); }
    void Field(const char* pszName, char& v) override { Begin(pszName), Value(v); }
    void Field(const char* pszName, boolean& v) override { Begin(pszName), Value(int32{v.nByte}); }
    void Field(const char* pszName, string& v) override
    {
        Begin(pszName);
        if (m_secrets == Secrets::Blank && std::strcmp(pszName, "strPassWD") == 0)
            m_out += "(blanked)";
        else
            Value(v);
    }
    void Field(const char* pszName, std::vector<int32>& v) override { Vector(pszName, v); }
    void Field(const char* pszName, std::vector<string>& v) override { Vector(pszName, v); }
    void Field(const char* pszName, RecordList& v) override { Vector(pszName, v); }

private:
    void Begin(const char* pszName)
    {
        m_out += ' ';
        m_out += pszName;
        m_out += ": ";
    }

    void Value(int32 v) { m_out += std::to_string(v); }
    void Value(int64 v) { m_out += std::to_string(v); }
    void Value(char c)
    {
        if (c > ' ' && c < '\x7F')
            m_out += string("'") + c + '\'';
        else
            Value(int32{static_cast<unsigned char>(c)});
    }
    void Value(const string& v)
    {
        m_out += '"';
        for (const char c : std::string_view(v).substr(0, kMaxText))
            AppendCharacter(m_out, c);
        m_out += '"';
        if (v.size() > kMaxText)
            m_out += "... (" + std::to_string(v.size()) + " bytes)";
    }
    void Value(IMessage& rec) { Message(rec); }

    template <class V>
    void Vector(const char* pszName, V& v)
    {
        Begin(pszName);
        m_out += '[';
        for (std::size_t i = 0; i < std::min(v.size(), kMaxElements); ++i) {
            m_out += ' ';
            Value(v[i]);
        }
        m_out += v.size() > kMaxElements ? " ... (" + std::to_string(v.size()) + " elements) ]" : " ]";
    }

    string& m_out;
    Secrets m_secrets;
};

}  // namespace

std::span<const ClassInfo> AllClasses() { return kClasses; }

const ClassInfo* FindClass(int32 nMsgID)
{
    const auto p = std::find_if(std::begin(kClasses), std::end(kClasses),
                                [nMsgID](const ClassInfo& info) { return info.nMsgID == nMsgID; });
    return p == std::end(kClasses) ? nullptr : p;
}

std::unique_ptr<IMessage> MakeMessage(int32 nMsgID)
{
    const ClassInfo* const p = FindClass(nMsgID);
    return p == nullptr || p->bRecord ? nullptr : p->pfnMake();
}

const char* MessageName(int32 nMsgID)
{
    const ClassInfo* const p = FindClass(nMsgID);
    return p == nullptr ? "unknown message" : p->pszName;
}

bool VisitFields(IMessage& msg, FieldVisitor& visitor)
{
    const ClassInfo* const p = FindClass(msg.GetMsgID());
    return p != nullptr && p->pfnVisit(msg, visitor);
}

string DescribeMessage(const IMessage& msg, Secrets secrets)
{
    string out;
    Describer describer(out, secrets);
    describer.Message(const_cast<IMessage&>(msg));  // it only reads
    return out;
}

}  // namespace Wirova
