#pragma once

#include <cstdint>

namespace frontend {

// How far a scan job has got, as its transfers show.
enum class JobState : std::uint8_t {
  calling,          // the first calls, every one so far answered
  awaitingAnswer,   // the first calls, the latest one not answered yet by a whole, readable message
  awaitingPicture,  // the library reads the job stream, which has brought no whole image packet
  receiving,        // it has: from now on the library takes a failed read for the end of the picture
  endedEmpty,       // the scanner has ended its job without a whole image packet
  delivered,        // the scanner has ended its job, which the library can only learn by a time-out
  leaving,          // the library has all that it will take; its last calls leave the scanner ready
  over,             // ended early: no transfer reaches the device any more
};

// What a transfer, the scanner, the front end or the user of the picture can do to a job.
enum class JobEvent : std::uint8_t {
  call,               // the library is about to write a call
  answer,             // a readable answer to a call that may be answered so
  refusal,            // an exception as the answer to "create" or "start"
  unreadableAnswer,   // a message that is neither
  callTimedOut,       // the scanner did not take a call
  callFailed,         // a transfer of a call or its answer failed otherwise
  deviceGone,         // a transfer found no device
  dataRead,           // the library is about to read the job stream
  imagePacket,        // an image packet is whole
  jobEnd,             // the packet that ends the job arrived
  dataFailed,         // a read of the job stream failed otherwise than by silence
  dataKeepsFailing,   // so did the reads before it: the library would go on for ever
  silence,            // the stream brought nothing for as long as the scanner may be silent
  overdue,            // bytes still arrive, but the job has taken longer than any picture of its size may
  quietEnd,           // nothing follows the last row, though the scanner did not end its job
  garbled,            // the bytes are not packets, or never end
  unreadablePicture,  // the picture has no usable header
  refusedPicture,     // its listener wants another one
  unwantedRows,       // its listener wants no more rows
  cancel,             // found before, or after, a transfer
  outOfMemory,        // no memory to examine the bytes
};

// The state that follows a state and an event. "-" leaves the state as it is; so does every event once the
// job is over. The last column is the outcome of a job that the event ends early. For short, asking stands
// for awaitingAnswer, waiting for awaitingPicture and empty for endedEmpty.
//
//                     calling   asking    waiting   receiving empty     delivered leaving outcome
//   call              asking    over      -         -         -         -         -       no answer (1)
//   answer            -         calling   -         -         -         -         -
//   refusal           over      over      -         -         -         -         -       refused
//   unreadableAnswer  over      over      -         -         -         -         - (2)   unreadable
//   callTimedOut      over      over      -         -         -         -         -       no answer
//   callFailed        over      over      -         -         -         -         -       transfer failed
//   deviceGone        over      over      over      over      over      over      -       went away
//   dataRead          waiting   waiting   -         -         over      leaving(3) -       no picture
//   imagePacket       -         -         receiving -         delivered -         -
//   jobEnd            -         -         empty     delivered -         -         -
//   dataFailed        -         -         -         leaving   -         leaving   -
//   dataKeepsFailing  -         -         over      leaving   over      leaving   -       transfer failed
//   silence           -         -         over      over      over      over      -       silent
//   overdue           over      over      over      over      over      -         -       too slow
//   quietEnd          -         -         -         leaving   -         leaving   -
//   garbled           over      over      over      over      over      over      - (2)   garbled
//   unreadablePicture -         -         over      over      over      over      -       bad picture
//   refusedPicture    -         -         over      over      over      over      over    the listener's
//   unwantedRows      -         -         over      over      over      over      over    cancelled
//   cancel            over      over      over      over      over      -         -       cancelled
//   outOfMemory       over      over      over      over      over      over      -       no memory
//
// (1) An unreadable one if a part of it has arrived. The library would take what follows for the answer to
//     its next call.
// (2) The library does not get these bytes. They can do no harm otherwise: the picture is in.
// (3) This read never reaches the device, and neither do later ones. The library gets a time-out at once, its
//     only sign of the end, for which it would wait 15 s. One that reads on has missed the picture: "no
//     device" ends it.
JobState next(JobState state, JobEvent event);

// Whether the library must not get the bytes that raised this event: note (2).
bool isWithheld(JobState state, JobEvent event);

// Whether image packets belong to the picture: the library drops those inside the answers to its first calls.
bool takesPicture(JobState state);

}  // namespace frontend
