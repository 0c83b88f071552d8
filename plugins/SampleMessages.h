/* The suite and the messages of the sample plug-ins, as their users and they themselves see them. */
#ifndef SAMPLEMESSAGES_H
#define SAMPLEMESSAGES_H

#include "MVPlugins.h"

/* "Ease" publishes it. */
#define EASE_SUITE "Ease Suite"

enum { kEaseSuiteAPIVersion = 1, kEaseSuiteInternalVersion = 2 };

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

/* Text-defined plug-ins hear "Text" and a selector that they name themselves. */
#define TEXT_CALLER "Text"

typedef struct TextMessage {
    MVMessageData data;
    char text[256]; /* out */
} TextMessage;

#endif
