#pragma once

/// Makes memory that runs out end the program with a sentence and the status of a failed operation
/// where nobody catches the exception, or a library writes to memory that it did not get; on
/// whatever thread. Files that are being written are removed, and what they would have replaced
/// stays. Any other exception that nobody catches ends likewise. At the start of main, before any
/// thread is there.
void installFailureHandler();
