#ifndef QUORVEL_TOOLS_REPORT_XML_MEMORY_H_
#define QUORVEL_TOOLS_REPORT_XML_MEMORY_H_

namespace quorvel::report {

// Gives libxml2 an allocator that keeps freed small blocks for the next document. A document
// consists of many such blocks. Call it once, before any other call of libxml2. The process must
// use libxml2 in one thread only. The memory of the largest document stays allocated.
void UseXmlMemory();

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_XML_MEMORY_H_
