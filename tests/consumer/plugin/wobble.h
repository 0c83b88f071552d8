#ifndef WOBBLE_H
#define WOBBLE_H

#include <MVPlugins.h>

/* A message: where something is that wobbles. */
typedef struct WobbleMessage {
    MVMessageData data; /* every message begins so */
    double time;        /* seconds, in */
    double offset;      /* pixels, out */
} WobbleMessage;

/* The same as a suite, for those who ask often. */
typedef struct WobbleSuite {
    double (*Offset)(double time);
} WobbleSuite;

#endif
