// Times that more than one part of the library keeps, in milliseconds.
#pragma once

// The longest wait for an answer of the service, of a request and of the registration alike.
inline constexpr unsigned int kAnswerTimeout = 5000;

// The distance of two looks at whether a thread that has been asked to end has done so.
inline constexpr unsigned int kStopPoll = 50;
