// Servers for a program that loads them: the active service of an engine with 1,000 active events,
// and, on the bare library behind the web server, a greeting and a file as large as that answer.
//
// Says "PORT NAME PATH" for each, and runs until its standard input ends.
#include <fcntl.h>
#include <microhttpd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/platform/zrplatform.h"
#include "host/remote/zrwebserver.h"
#include "memoryhttp.h"
#include "plausiblesite.h"
#include "tessaly/zrservices.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr int kEvents = 1000;
constexpr const char* kActivePath = "/services/events/actived.xml";

// What the bare server gives: a text from memory, or a file.
struct tagContent {
  std::string greeting = "hello\n";
  int file = -1;
  std::uint64_t fileSize = 0;
};

// NOLINTNEXTLINE(readability-function-size): the library calls it so.
MHD_Result Answer(void* context, MHD_Connection* connection, const char* url, const char*,
                  const char*, const char*, std::size_t*, void**) {
  const auto& content = *static_cast<const tagContent*>(context);
  const bool isFile = std::string(url) == "/file";
  MHD_Response* const response =
      isFile ? MHD_create_response_from_fd64(content.fileSize, ::dup(content.file))
             : MHD_create_response_from_buffer(content.greeting.size(),
                                               const_cast<char*>(content.greeting.data()),
                                               MHD_RESPMEM_PERSISTENT);
  const MHD_Result sent = MHD_queue_response(connection, MHD_HTTP_OK, response);
  MHD_destroy_response(response);
  return sent;
}

int FileOf(const std::string& text) {
  const int file = ::open("/tmp", O_RDWR | O_TMPFILE | O_CLOEXEC, 0600);
  if (file < 0 || ::write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    std::abort();
  return file;
}

void WaitUntilActive(ZREventServer& engine) {
  PlainRequest request;
  MemoryResponse response;
  for (int tries = 0; tries < 200; ++tries) {
    if (engine.ActiveEventsCount(request, response) == kEvents) return;
    ZRPlatform::Get().Sleep(100);
  }
  std::abort();
}

}  // namespace

int main() {
  const PlausibleSite site({kEvents, 20});
  auto* const plant =
      static_cast<PlantDriver*>(ZRDriver::Register(std::make_unique<PlantDriver>()));
  ZREventServer engine;
  (void)engine.LoadCfg();
  plant->ShowActive();
  if (!engine.Start()) std::abort();
  WaitUntilActive(engine);
  PlainRequest request;
  MemoryResponse response;
  (void)engine.ProcessHttpServiceEventsActived(request, response);

  ZRWebServer web;
  BindServices(web, engine);
  ZRWebServerSettings settings;
  settings.connectionsPerAddress = settings.connections;
  ZRString reason;
  if (!web.Start(settings, reason)) std::abort();

  tagContent content;
  content.file = FileOf(response.body);
  content.fileSize = response.body.size();
  MHD_Daemon* const bare =
      MHD_start_daemon(MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_USE_ITC, 0, nullptr,
                       nullptr, &Answer, &content, MHD_OPTION_THREAD_POOL_SIZE, settings.threads,
                       MHD_OPTION_CONNECTION_LIMIT, settings.connections, MHD_OPTION_END);
  if (bare == nullptr) std::abort();
  const int barePort = MHD_get_daemon_info(bare, MHD_DAEMON_INFO_BIND_PORT)->port;

  std::printf("%d active %s\n%d file /file\n%d hello /hello\n%zu bytes\n", web.Port(), kActivePath,
              barePort, barePort, response.body.size());
  (void)std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
  MHD_stop_daemon(bare);
  web.Stop();
  engine.Stop();
  ZRDriver::UnregisterAll();
  return 0;
}
