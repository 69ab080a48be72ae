// The catalogue of all wire classes, for code that handles messages without knowing their classes, such as
// the sandbox and the tests: makes a message by its id, names it, shows it as text, and walks its fields.
// Everything follows from the lists in AllMessages.h and is compiled once.
#pragma once

#include <span>

#include "wirova/WirovaBase.h"

namespace Wirova {

// A message's vector of records, seen without the type of its records. It refers to the vector in the message
// and is only valid during the visit.
class RecordList {
public:
    virtual std::size_t size() const = 0;
    virtual IMessage& operator[](std::size_t i) const = 0;
    virtual IMessage& Add() = 0;  // a new record at the end

protected:
    ~RecordList() = default;
};

// The receiver of a walk: is called with the name and the value of each field in wire order. bNested and
// nMsgID are no fields. The values may be changed.
class FieldVisitor {
public:
    virtual void Field(const char* pszName, int32& v) = 0;
    virtual void Field(const char* pszName, int64& v) = 0;
    virtual void Field(const char* pszName, char& v) = 0;
    virtual void Field(const char* pszName, boolean& v) = 0;
    virtual void Field(const char* pszName, string& v) = 0;
    virtual void Field(const char* pszName, std::vector<int32>& v) = 0;
    virtual void Field(const char* pszName, std::vector<string>& v) = 0;
    virtual void Field(const char* pszName, RecordList& v) = 0;

protected:
    ~FieldVisitor() = default;
};

// What the catalogue knows of a class.
struct ClassInfo {
    int32 nMsgID;
    const char* pszName;
    bool bRecord;                                            // travels only inside a vector
    std::unique_ptr<IMessage> (*pfnMake)();                  // a new object with empty fields
    bool (*pfnVisit)(IMessage& msg, FieldVisitor& visitor);  // false, and no visit, for another class
};

// All classes, the messages first, then the records. FindClass gives null for an id that no class has.
std::span<const ClassInfo> AllClasses();
const ClassInfo* FindClass(int32 nMsgID);

// A new message; null for the id of a record or of no class.
std::unique_ptr<IMessage> MakeMessage(int32 nMsgID);
// The name of a class; "unknown message" for an id that no class has.
const char* MessageName(int32 nMsgID);

// Walks the fields of the message. False, and no call of the visitor, for a class that is not in the
// catalogue.
bool VisitFields(IMessage& msg, FieldVisitor& visitor);

enum class Secrets { Blank, Show };  // whether pass words appear in a description
// The message as one line of text: its name and all fields. The length is limited: a long text shows its
// first bytes and its length, a long vector its first elements and their number.
string DescribeMessage(const IMessage& msg, Secrets secrets = Secrets::Blank);

// Calls visit(name, field) for each field, as VisitFields does, without a class derived from FieldVisitor.
// visit has to take all eight field types of FieldVisitor; for a const message it gets references to const.
template <class Visit>
bool VisitMessage(IMessage& msg, Visit&& visit)
{
    struct Adapter final : FieldVisitor {
        explicit Adapter(Visit& visit_) : m_visit(visit_) {}
        void Field(const char* pszName, int32& v) override { m_visit(pszName, v); }
        void Field(const char* pszName, int64& v) override { m_visit(pszName, v); }
        void Field(const char* pszName, char& v) override { m_visit(pszName, v); }
        void Field(const char* pszName, boolean& v) override { m_visit(pszName, v); }
        void Field(const char* pszName, string& v) override { m_visit(pszName, v); }
        void Field(const char* pszName, std::vector<int32>& v) override { m_visit(pszName, v); }
        void Field(const char* pszName, std::vector<string>& v) override { m_visit(pszName, v); }
        void Field(const char* pszName, RecordList& v) override { m_visit(pszName, v); }
        Visit& m_visit;
    } adapter(visit);
    return VisitFields(msg, adapter);
}
template <class Visit>
bool VisitMessage(const IMessage& msg, Visit&& visit)
{
    // visit gets each field as const, so the cast lets nobody change the message.
    return VisitMessage(const_cast<IMessage&>(msg),
                        [&](const char* pszName, const auto& field) { visit(pszName, field); });
}

}  // namespace Wirova
