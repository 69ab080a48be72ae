// What the exports hand to the senders: plain records with the Req ID, zeroed before they are filled.
#pragma once

// Every request that names one user.
struct _USER_SEND {
    char szUserKey[23];
    char szUserIP[16];
    int nReqID;  // -1: nobody waits for the answer
};
