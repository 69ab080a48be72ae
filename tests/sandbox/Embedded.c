/* The shipped connector and the shipped sandbox in one program, as a studio's test would have them, in C11.
 */
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "VelkarConnector.h"
#include "VelkarSandbox.h"

static VelkarSandbox* g_sandbox;
static atomic_int g_lines, g_events, g_asked;

static void Check(int bGood, const char* pszWhat, int nLine)
{
    if (bGood)
        return;
    printf("line %d: %s\nanswer: %s\n", nLine, pszWhat, VelkarSandboxAnswer(g_sandbox));
    fflush(stdout);
    exit(1);
}
#define CHECK(condition) Check(condition, #condition, __LINE__)
#define SAYS(text) CHECK(strstr(VelkarSandboxAnswer(g_sandbox), text) != NULL)

static void OnLine(void* pContext, const char* pszLine)
{
    if (pContext == &g_lines && strlen(pszLine) > 13)
        atomic_fetch_add(&g_lines, 1);
}
static void OnBillingEvent(const _BILLING_NOTI_INFO* pInfo)
{
    atomic_fetch_add(&g_events, pInfo->nEventCode);
}
static void OnQueryGameMoney(const _GAME_USER_REQ* pReq, _GAME_MONEY_RES* pRes)
{
    /* Another thread than that which waits for this answer, with an answer of its own. */
    atomic_store(&g_asked, VelkarSandboxAsk(g_sandbox, "GET /clock", NULL));
    pRes->bSuccess = strstr(VelkarSandboxAnswer(g_sandbox), "aheadSeconds") != NULL;
    pRes->nGameMoney = (int)strlen(pReq->szUserKey);
}

/* Each mistake has its text, and none is the end of anything. */
static void CheckMistakes(void)
{
    char szError[200], szShort[8] = "1234567";
    static const char* const kOptions[] = {"x",
                                           "[]",
                                           "{\"sede\": 1}",
                                           "{\"port\": 70000}",
                                           "{\"seed\": \"no.json\"}",
                                           "{\"seed\": {\"users\": 1}}",
                                           "{\"logFile\": \"no/such/folder/log\"}"};
    static const char* const kTexts[] = {"no JSON", "object", "sede", "port", "no.json", "users", "no/such"};
    for (size_t i = 0; i < sizeof(kOptions) / sizeof(kOptions[0]); ++i) {
        CHECK(VelkarSandboxStart(kOptions[i], NULL, NULL, szError, sizeof(szError)) == NULL);
        CHECK(strstr(szError, kTexts[i]) != NULL);
    }
    CHECK(VelkarSandboxStart("x", NULL, NULL, NULL, 0) == NULL);
    CHECK(VelkarSandboxStart("x", NULL, NULL, szShort, 4) == NULL && strcmp(szShort, "The") == 0);
    CHECK(szShort[4] == '5'); /* nothing behind the size that was said */

    CHECK(VelkarSandboxPort(NULL) + VelkarSandboxHttpPort(NULL) +
              VelkarSandboxAsk(NULL, "GET /users", NULL) ==
          0);
    CHECK(VelkarSandboxTrigger(NULL, "", "") + VelkarSandboxFault(NULL, "") + VelkarSandboxAdvance(NULL, 1) ==
          0);
    CHECK(VelkarSandboxMark(NULL) + VelkarSandboxExpect(NULL, "", NULL, 0, 0) == 0);
    CHECK(VelkarSandboxWriteSettings(NULL, NULL) == 0 && VelkarSandboxAnswer(NULL)[0] == '\0');
    VelkarSandboxStop(NULL);

    CHECK(VelkarSandboxAsk(g_sandbox, NULL, NULL) == 0);
    SAYS("The request is NULL.");
    CHECK(VelkarSandboxTrigger(g_sandbox, NULL, "{}") == 0);
    SAYS("The name is NULL.");
    CHECK(VelkarSandboxTrigger(g_sandbox, "billing-event", NULL) == 0);
    SAYS("The text of the arguments is NULL.");
    CHECK(VelkarSandboxTrigger(g_sandbox, "billing-event", "{\"eventCode\": 1, \"user\": \"nobody\"}") == 0);
    SAYS("There is no user 'nobody'.");
    CHECK(VelkarSandboxExpect(g_sandbox, "XC2S_ChekInReq", NULL, 0, 0) == 0);
    SAYS("There is no class 'XC2S_ChekInReq'.");
    CHECK(VelkarSandboxExpect(g_sandbox, "XC2S_CheckInReq", "[]", 0, 0) == 0);
    SAYS("no JSON object");
    CHECK(VelkarSandboxWriteSettings(g_sandbox, "no/such/folder") == 0);
    SAYS("no/such/folder");
    CHECK(VelkarSandboxAsk(g_sandbox, "GET", NULL) == 404 && VelkarSandboxAsk(g_sandbox, "", NULL) == 404);
    CHECK(VelkarSandboxAsk(g_sandbox, "GET /events", NULL) == 400);
    CHECK(VelkarSandboxAdvance(g_sandbox, -1) == 0);
}

/* A purchase whose answer is lost: the game knows nothing, the sandbox has the order. */
static void CheckLostAnswer(void)
{
    _USER_REQ user = {"dave", "10.0.0.1"};
    _CHECKIN_RES in = {0};
    Checkin(&user, &in);
    CHECK(in.nResult == 0);
    const long long nMark = VelkarSandboxMark(g_sandbox);
    CHECK(VelkarSandboxFault(g_sandbox, "{\"class\": \"XS2C_PurchaseProductAns\", \"kind\": \"drop\"}"));
    SAYS("\"id\": 1");
    _PURCHASE_REQ purchase = {.szGameID = "DEMOGAME",
                              .szProductID = "POTION",
                              .szUserID = "dave",
                              .szServerID = "S",
                              .szCharacterID = "hero",
                              .nLevel = 30,
                              .nCount = 1,
                              .szUserIP = "10.0.0.1"};
    _PURCHASE_RES bought = {0};
    PurchaseProduct(&purchase, &bought);
    CHECK(!bought.bSuccess && strstr(bought.szError, "because of timeout.") != NULL);

    const char* const kFields = "{\"strUserID\": \"dave\", \"strProductID\": \"POTION\"}";
    const long long nRequest =
        VelkarSandboxExpect(g_sandbox, "XC2S_PurchaseProductReq", kFields, 1000, nMark);
    CHECK(nRequest > nMark);
    SAYS("\"direction\":\"in\"");
    CHECK(VelkarSandboxExpect(g_sandbox, "XC2S_PurchaseProductReq", kFields, 50, nRequest) == 0);
    CHECK(VelkarSandboxExpect(g_sandbox, "XC2S_PurchaseProductReq", "{\"nCount\": 2}", 0, 0) == 0);
    SAYS("POTION"); /* what has come instead */
    CHECK(VelkarSandboxExpect(g_sandbox, "XS2C_PurchaseProductAns", NULL, 1000, nRequest) > nRequest);
    SAYS("1 drop");
    CHECK(VelkarSandboxAsk(g_sandbox, "GET /orders?user=dave", NULL) == 200);
    SAYS("\"productId\": \"POTION\"");
}

int main(void)
{
    char szError[1025];
    g_sandbox = VelkarSandboxStart(NULL, OnLine, &g_lines, szError, sizeof(szError));
    CHECK(g_sandbox != NULL && szError[0] == '\0' && atomic_load(&g_lines) >= 2);
    VelkarSandbox* const other = VelkarSandboxStart(
        "{\"httpPort\": false, \"seed\": {\"users\": [{\"userId\": \"zoe\", "
        "\"userNo\": \"1\"}]}}",
        NULL, NULL, szError, sizeof(szError));
    CHECK(other != NULL && VelkarSandboxHttpPort(other) == 0 && VelkarSandboxHttpPort(g_sandbox) > 0);
    CHECK(VelkarSandboxPort(other) != VelkarSandboxPort(g_sandbox));
    CHECK(VelkarSandboxAsk(other, "GET /users?user=zoe", NULL) == 200);
    CHECK(strstr(VelkarSandboxAnswer(other), "zoe") != NULL && VelkarSandboxAnswer(g_sandbox)[0] == '\0');
    CheckMistakes();

    CHECK(VelkarSandboxWriteSettings(g_sandbox, NULL));
    SAYS("VelkarConnectorConfig.tl2");
    _CONNECTOR_ID id = {"GAME", "S", "W"};
    _CONNECTOR_CALLBACKS callbacks = {.pfnBillingEvent = OnBillingEvent,
                                      .pfnQueryGameMoney = OnQueryGameMoney};
    if (!InitModule(&id, &callbacks, szError, sizeof(szError)))
        printf("%s\n", szError);
    CHECK(VelkarSandboxExpect(g_sandbox, "XC2S_VelkarConnectReq", "{\"strGID\": \"GAME\"}", 5000, 0) > 0);
    CheckLostAnswer();

    CHECK(VelkarSandboxTrigger(g_sandbox, "query-game-money", "{\"user\": \"dave\"}"));
    SAYS("\"nGameMoney\": 4");
    CHECK(atomic_load(&g_asked) == 200);
    CHECK(VelkarSandboxTrigger(g_sandbox, "billing-event", "{\"user\": \"dave\", \"eventCode\": 1}"));
    CHECK(VelkarSandboxAdvance(g_sandbox, 3600));
    SAYS("\"aheadSeconds\": 3600");
    UninitModule(); /* lets the callbacks end */
    CHECK(atomic_load(&g_events) == 1);
    CHECK(VelkarSandboxAsk(other, "GET /connectors", NULL) == 200);
    CHECK(strstr(VelkarSandboxAnswer(other), "GAME") == NULL);
    VelkarSandboxStop(other);
    VelkarSandboxStop(g_sandbox);
    return 0;
}
