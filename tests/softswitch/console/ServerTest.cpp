#include "softswitch/console/server.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <latch>
#include <thread>
#include <vector>

#include "ConsoleClient.h"
#include "platform/zelt/Anchors.h"
#include "testing/base/TempDir.h"

namespace softswitch::console {
namespace {

class ServerTest : public testing::Test {
protected:
   void SetUp() override { address_ = Address::parse("unix:" + directory_ / "console.sock"); }

   // echo TEXT, fail TEXT, big N (N bytes), endless (until the output closes).
   void handle(std::string_view line, Output& out) {
      if (line.starts_with("echo ")) {
         out.write(line.substr(5));
      } else if (line.starts_with("fail ")) {
         out.write("before\n");
         throw std::runtime_error(std::string(line.substr(5)));
      } else if (line.starts_with("big ")) {
         out.write(std::string(std::stoul(std::string(line.substr(4))), 'x'));
      } else if (line == "endless") {
         endlessBegan_.set_value();
         try {
            for (const std::string block(10'000, 'e');; endlessBytes_ += block.size())
               out.write(block);
         } catch (const OutputClosed&) {
            endlessEnded_.set_value();
            throw;
         }
      }
   }

   Server::Handler handler() {
      return [this](std::string_view line, Output& out) { handle(line, out); };
   }

   const orvtest::TempDir directory_;
   Address address_;
   std::promise<void> endlessBegan_, endlessEnded_;
   std::atomic<std::size_t> endlessBytes_ = 0;
};

TEST_F(ServerTest, answersLinesInOrder) {
   Server server(address_, handler());
   ConsoleClient client(address_);
   client.send("echo one\nfail it was wrong\n\r\n\necho two\r\n");
   const auto one = client.answer();
   ASSERT_TRUE(one);
   EXPECT_TRUE(one->ok);
   EXPECT_EQ(one->text, "one");
   const auto failed = client.answer();
   ASSERT_TRUE(failed);
   EXPECT_FALSE(failed->ok);
   EXPECT_EQ(failed->text, "before\n");
   EXPECT_EQ(failed->error, "it was wrong");
   for (int blank = 0; blank < 2; ++blank) {
      const auto answer = client.answer();
      ASSERT_TRUE(answer);
      EXPECT_TRUE(answer->ok);
      EXPECT_EQ(answer->text, "");
   }
   EXPECT_EQ(client.answer()->text, "two");
}

TEST_F(ServerTest, servesTcpToo) {
   Server server(Address::parse("127.0.0.1:0"), handler());
   ConsoleClient client(server.address());
   ASSERT_TRUE(client.connected());
   EXPECT_EQ(client.run("echo hello")->text, "hello");
}

TEST_F(ServerTest, longOutputComesInBoundedChunks) {
   Server server(address_, handler());
   ConsoleClient client(address_);
   const auto answer = client.run("big 1000000");
   ASSERT_TRUE(answer);
   EXPECT_EQ(answer->text.size(), 1'000'000u);
   EXPECT_LE(answer->longestChunk, Server::maxChunkBytes);
}

TEST_F(ServerTest, lineMayComeInPieces) {
   Server server(address_, handler());
   ConsoleClient client(address_);
   for (const char* piece : {"ec", "ho pie", "ces", "\n"})
      client.send(piece);
   EXPECT_EQ(client.answer()->text, "pieces");
}

TEST_F(ServerTest, longestLineIsTakenAndALongerOneIsRefusedAndTheConnectionClosed) {
   Server server(address_, handler());
   ConsoleClient client(address_);
   EXPECT_EQ(client.run("echo " + std::string(Server::maxLineBytes - 5, 'l'))->text.size(),
             Server::maxLineBytes - 5);
   const auto refused = client.run("echo " + std::string(Server::maxLineBytes - 4, 'l'));
   ASSERT_TRUE(refused);
   EXPECT_EQ(refused->error, "command line longer than 65536 bytes");
   EXPECT_FALSE(client.answer());
}

TEST_F(ServerTest, endlessLineIsRefusedWithoutItsEnd) {
   Server server(address_, handler());
   ConsoleClient client(address_);
   client.send(std::string(3 * Server::maxLineBytes, 'l'));
   const auto refused = client.answer();
   ASSERT_TRUE(refused);
   EXPECT_EQ(refused->error, "command line longer than 65536 bytes");
}

TEST_F(ServerTest, lineWithoutEndIsNotCarriedOut) {
   std::atomic<int> ran = 0;
   Server server(address_, [&](std::string_view, Output&) { ++ran; });
   ConsoleClient client(address_);
   client.send("first\nsecond");
   client.endInput();
   EXPECT_TRUE(client.answer()->ok);
   EXPECT_FALSE(client.answer());
   EXPECT_EQ(ran, 1);
}

TEST_F(ServerTest, clientThatDoesNotReadHoldsUpNobody) {
   Server server(address_, handler());
   ConsoleClient stuck(address_);
   stuck.send("endless\n");
   endlessBegan_.get_future().wait();
   ConsoleClient other(address_);
   for (int i = 0; i < 100; ++i)
      ASSERT_EQ(other.run("echo still here")->text, "still here");
   server.stop();
   endlessEnded_.get_future().wait();
   // No more than the socket buffers: the command waited instead of collecting its output.
   EXPECT_LT(endlessBytes_, 16u << 20);
}

TEST_F(ServerTest, commandEndsWhenItsReaderLeaves) {
   Server server(address_, handler());
   {
      ConsoleClient client(address_);
      client.send("endless\n");
      endlessBegan_.get_future().wait();
   }
   endlessEnded_.get_future().wait();
   EXPECT_EQ(ConsoleClient(address_).run("echo next")->text, "next");
}

TEST_F(ServerTest, stopEndsACommandWhoseReaderKeepsUp) {
   Server server(address_, handler());
   ConsoleClient client(address_);
   client.send("endless\n");
   auto reading = std::async(std::launch::async, [&] { return client.answer(); });
   endlessBegan_.get_future().wait();
   server.stop();
   EXPECT_FALSE(reading.get());
}

TEST_F(ServerTest, turnsAwayTheClientAboveTheLimitAndTakesOneAgainLater) {
   Server server(address_, handler());
   std::vector<std::unique_ptr<ConsoleClient>> clients;
   for (std::size_t i = 0; i < Server::maxClients; ++i) {
      clients.push_back(std::make_unique<ConsoleClient>(address_));
      ASSERT_TRUE(clients.back()->run("echo in")->ok) << i;
   }
   ConsoleClient extra(address_);
   const auto refused = extra.answer();
   ASSERT_TRUE(refused);
   EXPECT_EQ(refused->error, "32 console clients are connected, expected fewer; try again later");
   EXPECT_FALSE(extra.answer());

   clients.front()->endInput();
   EXPECT_FALSE(clients.front()->answer());  // its thread has closed the connection
   bool admitted = false;
   while (!admitted) {
      ConsoleClient again(address_);
      const auto answer = again.run("echo in");
      admitted = answer && answer->ok;
   }
   EXPECT_EQ(clients.back()->run("echo in")->text, "in");
}

TEST_F(ServerTest, idleClientsDoNotKeepStopWaiting) {
   auto server = std::make_unique<Server>(address_, handler());
   std::vector<std::unique_ptr<ConsoleClient>> idle;
   for (int i = 0; i < 10; ++i)
      idle.push_back(std::make_unique<ConsoleClient>(address_));
   idle.front()->send("half a li");
   server->stop();
   server->stop();
   for (auto& client : idle)
      EXPECT_FALSE(client->answer());
   EXPECT_FALSE(std::filesystem::exists(address_.path));
   EXPECT_FALSE(ConsoleClient(address_).connected());
   server.reset();
}

// The first stop waits for the command, the command waits for the lock, and the thread that holds the lock
// stops the server too.
TEST_F(ServerTest, aStopByTheLocksHolderDuringAnotherStopLetsBothEnd) {
   std::promise<void> running;
   std::promise<void> stopBegan;
   Server server(address_, [&](std::string_view, Output& out) {
      running.set_value();
      try {
         for (;;)
            out.write("x");
      } catch (const OutputClosed&) {
         stopBegan.set_value();
      }
      const Zelt::ActivityLockAnchor lock;
   });
   ConsoleClient client(address_);
   client.send("go\n");
   running.get_future().wait();
   auto reading = std::async(std::launch::async, [&] { return client.answer(); });
   const Zelt::ActivityLockAnchor lock;
   std::thread first([&] { server.stop(); });
   stopBegan.get_future().wait();
   server.stop();
   first.join();
   reading.wait();
   EXPECT_EQ(Zelt::activityLock().depth(), 1U);
}

TEST_F(ServerTest, clientsInParallelGetTheirOwnAnswers) {
   Server server(address_, handler());
   std::latch start(8);
   std::vector<std::future<void>> clients;
   for (int n = 0; n < 8; ++n) {
      clients.push_back(std::async(std::launch::async, [&, n] {
         ConsoleClient client(address_);
         start.arrive_and_wait();
         for (int i = 0; i < 200; ++i) {
            const auto text = std::to_string(n * 1000 + i);
            ASSERT_EQ(client.run("echo " + text)->text, text);
         }
      }));
   }
   for (auto& client : clients)
      client.get();
}

}  // namespace
}  // namespace softswitch::console
