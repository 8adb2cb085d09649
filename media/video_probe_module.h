/* What kestu and its video module, libkestu-media, agree on. Plain C. */
#ifndef KESTU_VIDEO_PROBE_MODULE_H
#define KESTU_VIDEO_PROBE_MODULE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KESTU_MEDIA_EXPORT __attribute__((visibility("default")))

/* Raised with every change of this file; a module of another version is not used. */
#define KESTU_MEDIA_VERSION 1

typedef struct KestuVideoFacts {
  int64_t width; /* pixels as displayed, after rotation */
  int64_t height;
  double seconds;
  double fps;
  int32_t audio; /* 1 with a sound track, else 0 */
} KestuVideoFacts;

typedef int (*KestuMediaVersionFunction)(void);
typedef int (*KestuMediaProbeFunction)(const char* path, KestuVideoFacts* facts);

KESTU_MEDIA_EXPORT int kestuMediaVersion(void);

/* Fills `facts` and returns 0; another number, and `facts` as they were, when the file is no QuickTime or MPEG-4 movie
   with a video track. Decodes no pictures. May be called from several threads at once. */
KESTU_MEDIA_EXPORT int kestuMediaProbe(const char* path, KestuVideoFacts* facts);

#ifdef __cplusplus
}
#endif

#endif
