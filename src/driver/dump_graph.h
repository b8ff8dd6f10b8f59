// Graphs for Graphviz and the viewers that read its files, written beside the debug log:
//
//     <input less extension>_<function>.dot    the blocks of a function        --debug:dot
//     <input less extension>.calls.dot         who calls whom in the file      --dump_call_graph
//
// Both are the same bytes for the same input. A file that cannot be written ends the run with status 1.
#ifndef DRIVER_DUMP_GRAPH_H
#define DRIVER_DUMP_GRAPH_H

// The blocks of the current function as they stand, if its graph is wanted at this step: --debug:dot wants it before
// the function is written, --debug:dot=N (N above 1) after step N.
constexpr int graph_before_writing = 1;
void dump_flow_graph(int step);

void dump_call_graph(); // with --dump_call_graph: the calls by name that the functions of the file make

#endif
