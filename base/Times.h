// Times that more than one folder of the library uses, in milliseconds.
#pragma once

// The longest time that a request export waits for its answer, and that InitModule and the comm thread wait
// for the answer to the registration.
inline constexpr unsigned int kAnswerTimeout = 5000;

// While a stop waits for a thread to end, it asks the thread's running flag once in this time.
inline constexpr unsigned int kStopPoll = 50;
