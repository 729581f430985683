/**
 * @file SanePages.h
 * The pages of a scanner: from its glass one a batch, from its feeder as many as follow each other.
 *
 *     at rest ── start ──▶ page ── last line ──▶ between pages ── start ──▶ page ...
 *        ▲                  │                        │
 *        └──── cancel, ─────┴── failure, stop ───────┴── no more paper, another setting, end of the transfer
 *              once
 */
#pragma once

#include "../model/Item.h"
#include "Scanner.h"

namespace vorn::wia {

/** @param feeder  more than one page can be had without a rest between them */
std::shared_ptr<PageSource> MakeSaneSource(std::shared_ptr<Scanner> scanner, bool feeder);

}  // namespace vorn::wia
