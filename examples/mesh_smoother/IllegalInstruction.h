#pragma once
/// \file
/// The one way to crash that is told to the system in its own words.

/// Ends as a thread does that comes to an instruction which the processor does not know.
void raiseIllegalInstruction();
