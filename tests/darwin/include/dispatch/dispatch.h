// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend uses of dispatch, declared as the system does for C++.

#include <cstdint>

typedef struct dispatch_object_s {
protected:
    dispatch_object_s() = default;
} * dispatch_object_t;
typedef struct dispatch_queue_s : dispatch_object_s{} * dispatch_queue_t;
typedef struct dispatch_queue_main_s : dispatch_queue_s{} * dispatch_queue_main_t;
typedef struct dispatch_queue_global_s : dispatch_queue_s{} * dispatch_queue_global_t;
typedef struct dispatch_source_s : dispatch_object_s{} * dispatch_source_t;
typedef struct dispatch_queue_attr_s : dispatch_object_s{} * dispatch_queue_attr_t;
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
typedef std::uint64_t dispatch_time_t;
typedef void (*dispatch_function_t)(void*);

enum : unsigned int { QOS_CLASS_BACKGROUND = 0x09 };
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_QUEUE_SERIAL nullptr

extern "C" {
extern const struct dispatch_source_type_s _dispatch_source_type_timer;
extern const struct dispatch_source_type_s _dispatch_source_type_memorypressure;

void dispatch_retain(dispatch_object_t object) noexcept;
void dispatch_release(dispatch_object_t object) noexcept;
void dispatch_set_context(dispatch_object_t object, void* context) noexcept;
void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer) noexcept;
void dispatch_suspend(dispatch_object_t object) noexcept;
void dispatch_resume(dispatch_object_t object) noexcept;

dispatch_queue_global_t dispatch_get_global_queue(std::intptr_t identifier, std::uintptr_t flags) noexcept;
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr) noexcept;
dispatch_queue_t dispatch_queue_create_with_target(const char* label, dispatch_queue_attr_t attr,
                                                   dispatch_queue_t target) noexcept;
void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) noexcept;
void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context, dispatch_function_t work) noexcept;
dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta) noexcept;

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, std::uintptr_t handle, std::uintptr_t mask,
                                         dispatch_queue_t queue) noexcept;
void dispatch_source_set_event_handler_f(dispatch_source_t source, dispatch_function_t handler) noexcept;
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, std::uint64_t interval,
                               std::uint64_t leeway) noexcept;
void dispatch_source_cancel(dispatch_source_t source) noexcept;
}

#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)
#define DISPATCH_SOURCE_TYPE_MEMORYPRESSURE (&_dispatch_source_type_memorypressure)
#define DISPATCH_MEMORYPRESSURE_WARN 0x02
#define DISPATCH_MEMORYPRESSURE_CRITICAL 0x04

dispatch_queue_main_t mainQueueDouble();
#define dispatch_get_main_queue() mainQueueDouble()
