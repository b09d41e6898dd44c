// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The link-level address of an interface.

#define AF_LINK 18

struct sockaddr_dl {
    unsigned char sdl_len;
    unsigned char sdl_family;
    unsigned short sdl_index;
    unsigned char sdl_type;
    unsigned char sdl_nlen;
    unsigned char sdl_alen;
    unsigned char sdl_slen;
    char sdl_data[12];
};
