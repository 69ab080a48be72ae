// The mix of calls that the servers make, read from a file: for each call the message and its fields, how
// often it comes, for whom it can be made, and what its success makes of the user.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sandbox/base/Json.h"
#include "wirova/messages/MessageCatalog.h"

namespace Load {

using Sandbox::Json;

// What a text of a field may name in braces: {user}, {no}, {ip}, {seq}, {server}, {serial}.
struct Names {
    std::string strUser, strNo, strIP;
    std::string strSeqNo;   // of the user's checkin; empty while he is out
    std::string strServer;  // the SID of the server
    std::string strSerial;  // another one for each request
};

enum class Who { Anybody, In, Out };  // who can make a call
enum class Makes { Nothing, In, Out };

class Call {
public:
    // Throws Sandbox::JsonError for a message that is no request, a field that it has not, a name that is
    // none.
    Call(const Json& json, const std::string& strPlace);

    // The bytes of the request.
    std::string FrameFor(const Names& names, Wirova::int32 nReqID);

    const std::string& GetName() const { return m_strName; }
    const Wirova::ClassInfo& GetAnswer() const { return *m_pAnswer; }
    double GetWeight() const { return m_dWeight; }
    Who GetWho() const { return m_who; }
    Makes GetMakes() const { return m_makes; }

private:
    void FindNames();

    std::string m_strName;
    double m_dWeight = 1;
    Who m_who = Who::Anybody;
    Makes m_makes = Makes::Nothing;
    const Wirova::ClassInfo* m_pAnswer = nullptr;
    std::unique_ptr<Wirova::IMessage> m_pRequest;
    struct Text {
        std::string strPattern;  // with names in braces
        std::string* pField;     // of m_pRequest
    };
    std::vector<Text> m_vecTexts;
};

struct Mix {
    std::string strGame;  // whose shop the servers use: their GID
    std::vector<Call> vecCalls;
    Call* FindMaker(Makes makes);  // the first call that does that; null if none does
};

// Throws Sandbox::JsonError. A mix without a call that checks users in can hold no call for users who are in.
Mix ReadMix(const Json& json);

// The mix that is played unless another one is given: sessions, a look into the shop, a purchase now and
// then.
extern const char* const kDefaultMix;

}  // namespace Load
