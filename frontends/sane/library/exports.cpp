// The thirteen functions of a SANE back end, under the names that the loader looks up. They turn exceptions
// into statuses: none crosses this boundary.
#include <sane/sane.h>

#include <new>
#include <string_view>

#include "SaneBackEnd.h"

namespace {

using frontend::DebugOutput;
using frontend::SaneBackEnd;
using frontend::SaneHandle;

constexpr int build = 1;

// From init to exit. Not destroyed at the end of a process that never called exit: its threads may still
// be using it.
SaneBackEnd* backEnd = nullptr;

template <typename Work>
SANE_Status guarded(Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return SANE_STATUS_NO_MEM;
  } catch (...) {
    return SANE_STATUS_IO_ERROR;
  }
}

SaneHandle* handleOf(SANE_Handle handle) {
  return static_cast<SaneHandle*>(handle);
}

template <typename Work>
SANE_Status with(SANE_Handle handle, const char* call, Work work) noexcept {
  if (backEnd == nullptr || handle == nullptr) return SANE_STATUS_INVAL;
  return guarded([&] {
    backEnd->debug().line(DebugOutput::calls, call);
    return work(*handleOf(handle));
  });
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

SANE_Status sane_quenvar_init(SANE_Int* versionCode, SANE_Auth_Callback authorize);
void sane_quenvar_exit();
SANE_Status sane_quenvar_get_devices(const SANE_Device*** list, SANE_Bool localOnly);
SANE_Status sane_quenvar_open(SANE_String_Const name, SANE_Handle* handle);
void sane_quenvar_close(SANE_Handle handle);
const SANE_Option_Descriptor* sane_quenvar_get_option_descriptor(SANE_Handle handle, SANE_Int option);
SANE_Status sane_quenvar_control_option(SANE_Handle handle, SANE_Int option, SANE_Action action, void* value,
                                        SANE_Int* info);
SANE_Status sane_quenvar_get_parameters(SANE_Handle handle, SANE_Parameters* parameters);
SANE_Status sane_quenvar_start(SANE_Handle handle);
SANE_Status sane_quenvar_read(SANE_Handle handle, SANE_Byte* data, SANE_Int capacity, SANE_Int* length);
void sane_quenvar_cancel(SANE_Handle handle);
SANE_Status sane_quenvar_set_io_mode(SANE_Handle handle, SANE_Bool nonBlocking);
SANE_Status sane_quenvar_get_select_fd(SANE_Handle handle, SANE_Int* descriptor);

SANE_Status sane_quenvar_init(SANE_Int* versionCode, SANE_Auth_Callback) {
  if (versionCode != nullptr) *versionCode = SANE_VERSION_CODE(SANE_CURRENT_MAJOR, SANE_CURRENT_MINOR, build);
  return guarded([] {
    if (backEnd == nullptr) backEnd = new SaneBackEnd;
    backEnd->debug().line(DebugOutput::calls, "init");
    return SANE_STATUS_GOOD;
  });
}

void sane_quenvar_exit() {
  delete backEnd;
  backEnd = nullptr;
}

SANE_Status sane_quenvar_get_devices(const SANE_Device*** list, SANE_Bool) {
  if (backEnd == nullptr || list == nullptr) return SANE_STATUS_INVAL;
  return guarded([&] {
    *list = backEnd->devices();
    return SANE_STATUS_GOOD;
  });
}

SANE_Status sane_quenvar_open(SANE_String_Const name, SANE_Handle* handle) {
  if (backEnd == nullptr || handle == nullptr) return SANE_STATUS_INVAL;
  *handle = nullptr;
  return guarded([&] {
    SaneHandle* opened = nullptr;
    const SANE_Status status = backEnd->open(name == nullptr ? std::string_view() : name, &opened);
    *handle = opened;
    return status;
  });
}

void sane_quenvar_close(SANE_Handle handle) {
  if (backEnd != nullptr) backEnd->close(handleOf(handle));
}

const SANE_Option_Descriptor* sane_quenvar_get_option_descriptor(SANE_Handle handle, SANE_Int option) {
  return handle == nullptr ? nullptr : handleOf(handle)->options().descriptor(option);
}

SANE_Status sane_quenvar_control_option(SANE_Handle handle, SANE_Int option, SANE_Action action, void* value,
                                        SANE_Int* info) {
  return with(handle, "control_option", [&](SaneHandle& open) {
    if (action == SANE_ACTION_GET_VALUE) return open.options().get(option, value);
    if (action == SANE_ACTION_SET_VALUE) return open.setOption(option, value, info);
    return SANE_STATUS_INVAL;  // no option sets itself
  });
}

SANE_Status sane_quenvar_get_parameters(SANE_Handle handle, SANE_Parameters* parameters) {
  return with(handle, "get_parameters", [&](const SaneHandle& open) {
    if (parameters != nullptr) *parameters = open.parameters();
    return parameters != nullptr ? SANE_STATUS_GOOD : SANE_STATUS_INVAL;
  });
}

SANE_Status sane_quenvar_start(SANE_Handle handle) {
  return with(handle, "start", [](SaneHandle& open) { return open.start(); });
}

SANE_Status sane_quenvar_read(SANE_Handle handle, SANE_Byte* data, SANE_Int capacity, SANE_Int* length) {
  if (length != nullptr) *length = 0;
  return with(handle, "read", [&](SaneHandle& open) { return open.read(data, capacity, length); });
}

void sane_quenvar_cancel(SANE_Handle handle) {
  if (handle != nullptr) handleOf(handle)->cancel();
}

SANE_Status sane_quenvar_set_io_mode(SANE_Handle handle, SANE_Bool nonBlocking) {
  return with(handle, "set_io_mode",
              [&](SaneHandle& open) { return open.setNonBlocking(nonBlocking != SANE_FALSE); });
}

SANE_Status sane_quenvar_get_select_fd(SANE_Handle handle, SANE_Int* descriptor) {
  return with(handle, "get_select_fd",
              [&](const SaneHandle& open) { return open.selectDescriptor(descriptor); });
}

}  // extern "C"
#pragma GCC visibility pop
