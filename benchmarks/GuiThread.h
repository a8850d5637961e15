#pragma once
/// \file
/// Runs benchmarks in a thread of their own, while the main thread serves events as a host's GUI thread does.

#include <functional>

/// Makes an application object and runs \p benchmarks in another thread. \return what they return, the exit
/// code.
int runBesideGuiThread(int argc, char** argv, const std::function<int()>& benchmarks);

/// Calls \p function in the GUI thread, behind all events that were posted before, and waits for it.
void inGuiThread(const std::function<void()>& function);
