// Short answers of the services.
#pragma once

#include "host/remote/zrhttpresponse.h"

inline constexpr int kOk = 200;
inline constexpr int kNoContent = 204;
inline constexpr int kBadRequest = 400;
inline constexpr int kUnauthorized = 401;
inline constexpr int kForbidden = 403;
inline constexpr int kNotFound = 404;
inline constexpr int kConflict = 409;
inline constexpr int kBadGateway = 502;
inline constexpr int kServiceUnavailable = 503;

inline void AnswerWithoutBody(ZRHttpResponse& response, int status) {
  response.Begin(status, kContentNone);
  (void)response.End();
}

// A line of text.
inline void AnswerWord(ZRHttpResponse& response, int status, const char* word) {
  response.Begin(status, kContentText);
  response.Write(word, -1);
  response.Write("\n", -1);
  (void)response.End();
}
