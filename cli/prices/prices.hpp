#pragma once

#include "cli/faults.hpp"
#include "cli/options.hpp"
#include "cli/store_jobs.hpp"
#include "core/pricing/parity.hpp"
#include "core/pricing/price_landing.hpp"
#include "core/pricing/pricing_file.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace kestu {

/// How a percentage lands on Apple's prices, and what is wrong with what was typed of it.
struct LandingOptions {
  PriceLanding landing;
  Faults wrong;
  void declare(Command& command);
};

/// What is asked of Parity, without its landing, and what is wrong with what was typed of it.
struct ParityOptions {
  ParityAsk ask;
  Faults wrong;
  void declare(Command& command);
};

void declareProduct(Command& command, std::optional<std::string>& product, const std::string& help);

/// Parity's suggestion. Where no landing was given it lands as the pricing file says of the product, which the service
/// may be the one to pick.
Response<ParityAnswer> fetchParity(const Client& client, const std::string& appPath, ParityAsk ask,
                                   const std::optional<std::string>& product, const std::filesystem::path& root);

/// " --app 123", as it was given; empty when it wasn't.
std::string ofApp(const AppTarget& app);

/// The country that --country names, by its code; a CLIError of kind usage for a region or anything else.
std::string oneCountry(const std::string& value);

/// Puts below a change's lines that one which would do the same waits for its approval already, as after a wait that
/// broke off. `planned` is the service's answer to its dry run.
void noteSameWaiting(const Context& context, const Client& client, const std::string& appPath,
                     const std::string& planned, ProposedChange& change);

/// Keys under a product of the pricing file that nothing reads are said on standard error.
void tellUnread(Console& console, const std::string& product, const ProductPrices& file);

extern const JobGroup priceJobs;

void addPricesParity(Command& group);
void addPricesSet(Command& group);
void addPricesTiers(Command& group);

} // namespace kestu
