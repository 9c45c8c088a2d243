#pragma once

// What the program needs of the operating system beyond the standard library.
namespace vxdep {

// To be called first. Makes sure that no file which is opened later gets the number of a standard
// stream that the caller closed, and that a reader that goes away shows as a failed write.
void PrepareStandardStreams();

// True when standard output is a pipe from which nobody will read any more.
bool ReaderOfStandardOutputIsGone();

// True when standard error is a terminal that can overwrite a line.
bool StandardErrorIsTerminal();

// Columns of the terminal on standard error; 80 when it does not say.
int TerminalWidth();

// From now on a first request to stop (Ctrl-C, termination) only raises a flag; a second one ends
// the process as usual. A request that the caller chose to ignore stays ignored.
void CatchInterrupts();
bool WasInterrupted();

}  // namespace vxdep
