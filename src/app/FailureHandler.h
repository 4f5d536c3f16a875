#pragma once

/// Makes an exception that nobody catches, on whatever thread, end the program with a sentence and
/// the status of a failed operation: memory that ran out, as a rule. Files that are being written
/// are removed, and what they would have replaced stays.
void installFailureHandler();
