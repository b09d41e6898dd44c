// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The list of logins. Under other names: the process has one of its own.

#include <cstdint>
#include <sys/time.h>
#include <sys/types.h>

#define utmpx utmpxDouble
#define setutxent setutxentDouble
#define getutxent getutxentDouble
#define endutxent endutxentDouble

#define BOOT_TIME 2
#define USER_PROCESS 7
#define DEAD_PROCESS 8

struct utmpx {
    char ut_user[256];
    char ut_id[4];
    char ut_line[32];
    pid_t ut_pid;
    short ut_type;
    struct timeval ut_tv;
    char ut_host[256];
    std::uint32_t ut_pad[16];
};

extern "C" {
void setutxent();
struct utmpx* getutxent();
void endutxent();
}
