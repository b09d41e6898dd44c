// SPDX-License-Identifier: Apache-2.0
#pragma once

#define SIOCGIFMEDIA 0xc02c6938
