#ifndef CONSUMER_H
#define CONSUMER_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns what the kit answers. */
int load_document(void* window);

/* Returns whether a document that is none is refused as one should be. */
int load_fault(void* window);

#ifdef __cplusplus
}
#endif

#endif
