#pragma once

/// Sends Qt's log to standard error as plain text. Qt's own choice may be the system journal when
/// standard error is no terminal, and a script would then never see a warning.
void installMessageHandler();
