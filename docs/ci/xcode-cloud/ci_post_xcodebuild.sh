#!/bin/sh
# ci_scripts/ci_post_xcodebuild.sh
# Xcode Cloud sends the build to App Store Connect itself; this checks the repository and sends the version's listing.
# KESTU_TOKEN, a secret of the workflow: kestu ci token --print --scopes release,kestukit | pbcopy
set -eu
[ "${CI_XCODEBUILD_ACTION:-}" = archive ] || exit 0
cd "$CI_PRIMARY_REPOSITORY_PATH"

kestu kit flags check
kestu metadata validate

version=$(sed -n 's/.*MARKETING_VERSION = \(.*\);/\1/p' ./*.xcodeproj/project.pbxproj | head -n 1)
status=0
kestu metadata push "$version" --yes --no-wait || status=$?
# 9: kestu couldn't be reached. The build is fine, so it goes on.
if [ "$status" -eq 9 ]; then echo "kestu couldn't be reached: the listing of $version wasn't sent."; exit 0; fi
exit "$status"
