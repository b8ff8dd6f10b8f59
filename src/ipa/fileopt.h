// The record of the file and its call graph.
#ifndef IPA_FILEOPT_H
#define IPA_FILEOPT_H

struct FUNINFO;

void init_fileopts();      // makes `fileinfo` anew; call when the options are known
void analyze_call_graph(); // sets the call-graph order of the defined functions

#endif
