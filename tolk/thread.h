// Starting a helper thread where the process may have none left to give.
#pragma once

#include <system_error>
#include <thread>
#include <utility>

// Runs fn on a new thread held in thread; false, with thread untouched, when the system
// refuses one. Callers then do the work on their own thread.
template <class Fn>
bool tolk_TryStartThread(std::thread& thread, Fn&& fn) {
  try {
    thread = std::thread(std::forward<Fn>(fn));
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}
