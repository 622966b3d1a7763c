#pragma once

// The IPMI library (libipmi).

#include <cstdint>

struct IPMISession;

extern "C" {

[[nodiscard]] IPMISession* ipmiCreateLocalSession(int timeout); // NULL: none
void ipmiCloseLocalSession(IPMISession* session);

// 0: sent and answered; *responseLength holds the buffer's size before and the answer's length after.
[[nodiscard]] int ipmiSendCmd(IPMISession* session, uint8_t netFn, uint8_t command, const void* request,
                              uint32_t requestLength, void* response, uint32_t* responseLength);

// SNMP settings of a user: the enable byte and three setting bytes. 0: done.
[[nodiscard]] int LIBIPMI_HL_AMIGetSNMPConf(IPMISession* session, uint8_t userId, uint8_t* enable, uint8_t* settings,
                                            int timeout);
int LIBIPMI_HL_AMISetSNMPConf(IPMISession* session, uint8_t userId, uint8_t enable, const uint8_t* settings,
                              int timeout);
}
