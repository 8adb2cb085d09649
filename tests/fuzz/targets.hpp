#pragma once

#include "tests/fuzz/fuzz.hpp"

#include <string_view>

namespace kestu::fuzz {

void addresses(std::string_view input);
void answers(std::string_view input);
void archiveListing(std::string_view input);
void assetFiles(std::string_view input);
void commandWords(std::string_view input);
void decimals(std::string_view input);
void eventTimes(std::string_view input);
void flagScan(std::string_view input);
void imageHeader(std::string_view input);
void jsonDocuments(std::string_view input);
void layout(std::string_view input);
void markdown(std::string_view input);
void md5(std::string_view input);
void metadata(std::string_view input);
void priceWords(std::string_view input);
void pricingFile(std::string_view input);
void printables(std::string_view input);
void projectLink(std::string_view input);
void propertyList(std::string_view input);
void refusals(std::string_view input);
void texts(std::string_view input);
void typedWords(std::string_view input);
void wordDifferences(std::string_view input);
void xcodeProject(std::string_view input);

} // namespace kestu::fuzz
