#pragma once

/// Makes SIGINT, SIGTERM, SIGHUP and SIGQUIT end the program at once without litter: files that are
/// being written are removed, what they would have replaced stays, a compiler that runs is ended
/// and its folder removed, and the status is 128 plus the signal's number. A signal that whoever
/// started the program has had ignored, as nohup does SIGHUP, stays ignored.
void installInterruptionHandler();
