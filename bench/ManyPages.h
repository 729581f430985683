/**
 * @file ManyPages.h
 * A file that takes one page after the other.
 */
#pragma once

#include <ostream>

namespace vorn::bench {

/** Adds `count` pages of 1 bit to a new file of each format that takes many; prints what the first and the last cost. */
void PrintManyPages(int count, std::ostream& out);

}  // namespace vorn::bench
