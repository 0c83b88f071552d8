/* The suite and the messages of the sample plug-ins, as their users and they themselves see them. */
#ifndef SAMPLEMESSAGES_H
#define SAMPLEMESSAGES_H

#include "MVPlugins.h"

/* "Ease" publishes it. */
#define EASE_SUITE "Ease Suite"

enum { kEaseSuiteAPIVersion = 1, kEaseSuiteInternalVersion = 2 }; /* internal version 1 has no EaseOut */

typedef struct EaseSuite {
    double (*EaseIn)(double t); /* 0 to 1 in, 0 to 1 out */
    double (*EaseOut)(double t);
} EaseSuite;

/* "Bounce" hears "Bounce" "Height". */
#define BOUNCE_CALLER "Bounce"
#define BOUNCE_HEIGHT "Height"

typedef struct BounceMessage {
    MVMessageData data;
    double t;      /* 0 to 1, in */
    double height; /* out */
} BounceMessage;

/* "Grain" has the export "Grain", version 1, and hears "Grain" "Draw". */
#define GRAIN_EXPORT "Grain"

enum { kGrainVersion = 1 };

#define GRAIN_CALLER "Grain"
#define GRAIN_DRAW "Draw"

typedef struct GrainMessage {
    MVMessageData data;
    uint32_t seed;
    int32_t count;
    double* values; /* room for count */
} GrainMessage;

/* What the sample host tells every plug-in around a run. Words that a plug-in puts in are printed. */
#define HOST_CALLER "Sample Host"
#define HOST_RUN_BEGINS "Run begins"
#define HOST_RUN_ENDED "Run ended"

typedef struct HostMessage {
    MVMessageData data;
    int32_t frames;  /* of the run, in */
    int32_t failed;  /* of them, at its end */
    char words[256]; /* out, empty when it comes in */
} HostMessage;

#endif
