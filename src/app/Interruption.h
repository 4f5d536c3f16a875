#pragma once

/// Makes SIGINT and SIGTERM end the program at once without litter: files that are being written
/// are removed, what they would have replaced stays, and the status is 128 plus the signal's
/// number.
void installInterruptionHandler();
