// What the verbs need that ask a site that runs.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/remote/zrhttpfetch.h"
#include "host/support/zrtessalysetup.h"
#include "tessaly/zrcommandline.h"

inline constexpr const char* kPasswordVariable = "TESSALY_PASSWORD";

// Where the site of these settings answers, without path and login. `hasUsers`: users are defined,
// on which the address depends. `port` as in ZRCommand. Nothing, with a reason, if nobody can know
// the port.
[[nodiscard]] std::optional<ZRHttpQuestion> QuestionToSite(const ZRTessalySetup& setup,
                                                           const ZRClientWords& words,
                                                           bool hasUsers, int port,
                                                           std::string& reason);

// The password of `user`: of the environment, or asked for without showing it, or the first line
// of standard input. False with a reason.
[[nodiscard]] bool AskForPassword(const std::string& user, std::string& password,
                                  std::string& reason);

// Documents that acknowledge these ids, each small enough for the service.
[[nodiscard]] std::vector<std::string> AckDocuments(const std::vector<std::string>& ids);

// What it means that a site has answered so, or not at all, in one sentence.
[[nodiscard]] std::string WhatWentWrong(const ZRHttpQuestion& question, const ZRHttpReply& reply);
