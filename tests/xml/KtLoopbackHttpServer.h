#pragma once

#include <signal.h>

#include <cstdio>
#include <filesystem>
#include <string>

// Runs http_test_server.py on 127.0.0.1 in a child process for as long as the object lives.
class KtLoopbackHttpServer {
 public:
  explicit KtLoopbackHttpServer(const std::string& directory) {
    const auto script = std::filesystem::path(__FILE__).parent_path() / "http_test_server.py";
    output_ = ::popen(("exec python3 '" + script.string() + "' '" + directory + "'").c_str(), "r");
    if (!output_ || std::fscanf(output_, "%d %d %d", &port_, &closedPort_, &pid_) != 3) port_ = pid_ = 0;
  }
  ~KtLoopbackHttpServer() {
    if (pid_ > 0) ::kill(pid_, SIGTERM);
    if (output_) ::pclose(output_);
  }

  bool running() const { return port_ > 0; }
  std::string url(const std::string& path, int port = 0) const {
    return "http://127.0.0.1:" + std::to_string(port ? port : port_) + path;
  }
  int closedPort() const { return closedPort_; }

 private:
  std::FILE* output_ = nullptr;
  int port_ = 0, closedPort_ = 0, pid_ = 0;
};
