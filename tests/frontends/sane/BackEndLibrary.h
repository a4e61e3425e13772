#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sane/sane.h>

#include <string>

// The back end as loaded by SANE: from its file, with its thirteen functions looked up by name. Unloaded at
// the end.
class BackEndLibrary {
 public:
  static constexpr const char* path = Q750_SANE_LIBRARY;

  BackEndLibrary() : library_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) ADD_FAILURE() << dlerror();
  }
  BackEndLibrary(const BackEndLibrary&) = delete;
  BackEndLibrary& operator=(const BackEndLibrary&) = delete;
  ~BackEndLibrary() { dlclose(library_); }

  static bool isLoaded() {
    void* library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) dlclose(library);
    return library != nullptr;
  }

  template <typename Function>
  Function* function(const char* name) const {
    void* found = dlsym(library_, (std::string("sane_quenvar_") + name).c_str());
    if (found == nullptr) ADD_FAILURE() << dlerror();
    return reinterpret_cast<Function*>(found);
  }

 private:
  void* library_;

 public:
  decltype(sane_init)* const init = function<decltype(sane_init)>("init");
  decltype(sane_exit)* const exit = function<decltype(sane_exit)>("exit");
  decltype(sane_get_devices)* const getDevices = function<decltype(sane_get_devices)>("get_devices");
  decltype(sane_open)* const open = function<decltype(sane_open)>("open");
  decltype(sane_close)* const close = function<decltype(sane_close)>("close");
  decltype(sane_get_option_descriptor)* const getOptionDescriptor =
      function<decltype(sane_get_option_descriptor)>("get_option_descriptor");
  decltype(sane_control_option)* const controlOption =
      function<decltype(sane_control_option)>("control_option");
  decltype(sane_get_parameters)* const getParameters =
      function<decltype(sane_get_parameters)>("get_parameters");
  decltype(sane_start)* const start = function<decltype(sane_start)>("start");
  decltype(sane_read)* const read = function<decltype(sane_read)>("read");
  decltype(sane_cancel)* const cancel = function<decltype(sane_cancel)>("cancel");
  decltype(sane_set_io_mode)* const setIoMode = function<decltype(sane_set_io_mode)>("set_io_mode");
  decltype(sane_get_select_fd)* const getSelectFd = function<decltype(sane_get_select_fd)>("get_select_fd");
};
