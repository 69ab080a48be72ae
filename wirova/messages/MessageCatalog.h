// Wire messages for whoever does not know their classes: made by id, named, shown as text, and walked
// field by field. All of it follows from the list in messages/AllMessages.h, and is compiled once.
#pragma once

#include <span>

#include "wirova/WirovaBase.h"

namespace Wirova {

// A vector of records without its type. It stands on the message's own vector and dies with the visit.
class RecordList {
public:
    virtual std::size_t size() const = 0;
    virtual IMessage& operator[](std::size_t i) const = 0;
    virtual IMessage& Add() = 0;  // a new record at the end

protected:
    ~RecordList() = default;
};

// Is given every field of a message in wire order, without bNested and nMsgID.
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

struct ClassInfo {
    int32 nMsgID;
    const char* pszName;
    bool bRecord;  // travels only inside a vector
    std::unique_ptr<IMessage> (*pfnMake)();
    bool (*pfnVisit)(IMessage& msg, FieldVisitor& visitor);  // false, and no visit, for another class
};

// All classes, the top-level ones first; null for an id that no class has.
std::span<const ClassInfo> AllClasses();
const ClassInfo* FindClass(int32 nMsgID);

// A new message of a top-level class; null for any other id.
std::unique_ptr<IMessage> MakeMessage(int32 nMsgID);
// "unknown message" for an id that no class has.
const char* MessageName(int32 nMsgID);

// False, and no visit, for a class that is not in the list.
bool VisitFields(IMessage& msg, FieldVisitor& visitor);

enum class Secrets { Blank, Show };
// One line: the name and all fields. Bounded: of a long text the first bytes and its length, of a long
// vector the first elements and their number. Passwords are blanked unless they are asked for.
string DescribeMessage(const IMessage& msg, Secrets secrets = Secrets::Blank);

// Calls visit(name, field) for each field, as VisitFields does, with any callable that takes every
// field type: the eight of FieldVisitor, references to const for a const message.
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
    // The fields go on as const, so nothing is changed through the cast.
    return VisitMessage(const_cast<IMessage&>(msg),
                        [&](const char* pszName, const auto& field) { visit(pszName, field); });
}

}  // namespace Wirova
