#pragma once

#include "core/console/text_style.hpp"
#include "core/pricing/parity.hpp"
#include "core/pricing/pricing_file.hpp"

#include <string>
#include <vector>

namespace kestu::ParityText {

/// The storefronts of one heading.
struct ZoneGroup {
  std::string heading;
  std::vector<const ParityStorefront*> storefronts; ///< by code
};

/// A group for each zone that a storefront is in, from the highest on; one for all where each has its own share.
std::vector<ZoneGroup> zoneGroups(const ParityAnswer& answer);

/// The whole suggestion as a page within so many columns, without a line feed at its end.
std::string lines(const ParityAnswer& answer, const TextStyles& style, int width);

/// A card as one paragraph; empty for a kind that there are no words for. `currency` is that of its amounts.
std::string card(const ParityCard& card, const std::string& currency);

/// What --write did; `next` is the command line that sends the prices.
std::string written(const ParityAnswer& answer, const ParityWritten& written, const std::string& next);

/// What --check found where nothing is off its target.
std::string withinTargets(const ParityAnswer& answer);

/// The message of a --check that fails; `sets` is the command line that sets the prices.
std::string offTargets(const ParityAnswer& answer, const std::vector<const ParityStorefront*>& off,
                       const std::string& sets);

} // namespace kestu::ParityText
