#pragma once

#include <chrono>

// The clocks of a worker, which both only ever advance. Declared here and defined in a source of their own,
// for which tests/hostile has another one: its devices take no real time. Any thread; nothing fails.
namespace frontend {

// By which a job is bounded: the time that the scanner takes.
std::chrono::steady_clock::time_point jobTime() noexcept;

// By which the watchdog notices that the process hangs: the time that the process takes.
std::chrono::steady_clock::time_point watchdogTime() noexcept;

}  // namespace frontend
