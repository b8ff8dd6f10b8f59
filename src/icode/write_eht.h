// Exception tables on their way out: entries that nothing uses are dropped.
#ifndef ICODE_WRITE_EHT_H
#define ICODE_WRITE_EHT_H

// Compacts the exception table of the current function and renumbers the calls that name its entries.
void compact_exception_table();

#endif
