#pragma once

namespace kestu {

class Command;

void addLogin(Command& command);
void addLogout(Command& command);
void addWhoami(Command& command);
void addApps(Command& command);
void addLink(Command& command);
void addConfig(Command& command);
void addStatus(Command& command);
void addVersions(Command& command);
void addSubmit(Command& command);
void addDoctor(Command& command);
void addUpdate(Command& command);
void addAssets(Command& command);
void addBuilds(Command& command);
void addMetadata(Command& command);
void addValidate(Command& metadataGroup);
void addRelease(Command& command);
void addEvents(Command& command);
void addKit(Command& command);
void addPrices(Command& command);
void addIntroOffers(Command& command);
void addOfferCodes(Command& command);
void addCI(Command& command);

} // namespace kestu
