#include "pnl/status.h"

#include <errno.h>

#include <gtest/gtest.h>

namespace {

TEST(StatusTest, DefaultIsOk) {
  pnl::Status status;
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(pnl::Status::Code::kOk, status.code());
  EXPECT_EQ("", status.message());
  EXPECT_EQ("", status.cause());
  EXPECT_TRUE(pnl::Status::OK().ok());
}

TEST(StatusTest, ErrorKeepsItsMessageAsCause) {
  pnl::Status status = pnl::Status::Error("kelmain is null");
  EXPECT_FALSE(status.ok());
  EXPECT_EQ(pnl::Status::Code::kFailed, status.code());
  EXPECT_EQ("kelmain is null", status.message());
  EXPECT_EQ("kelmain is null", status.cause());
}

TEST(StatusTest, ErrorWithCode) {
  pnl::Status status = pnl::Status::Error(pnl::Status::Code::kBusy, "held");
  EXPECT_TRUE(status.IsBusy());
  EXPECT_FALSE(status.ok());
  // An error is never ok, whatever code it is given.
  EXPECT_FALSE(pnl::Status::Error(pnl::Status::Code::kOk, "x").ok());
}

TEST(StatusTest, FromErrnoTakesTheSystemsWords) {
  pnl::Status status = pnl::Status::FromErrno(ENOSPC, "var/test_msgs: No space left on device");
  EXPECT_EQ(pnl::Status::Code::kFailed, status.code());
  EXPECT_EQ("var/test_msgs: No space left on device", status.message());
  EXPECT_EQ("No space left on device", status.cause());
}

TEST(StatusTest, FromErrnoCodes) {
  EXPECT_TRUE(pnl::Status::FromErrno(ENOENT, "a").IsNotFound());
  EXPECT_TRUE(pnl::Status::FromErrno(ENOTDIR, "a").IsNotDirectory());
  EXPECT_TRUE(pnl::Status::FromErrno(EISDIR, "a").IsDirectory());
  EXPECT_TRUE(pnl::Status::FromErrno(EWOULDBLOCK, "a").IsBusy());
  EXPECT_EQ(pnl::Status::Code::kFailed, pnl::Status::FromErrno(ELOOP, "a").code());
}

TEST(StatusTest, WithMessageKeepsCodeAndCause) {
  pnl::Status status = pnl::Status::FromErrno(EIO, "scratch file: Input/output error")
                           .WithMessage("var/msglint/findings.json: Input/output error");
  EXPECT_EQ(pnl::Status::Code::kFailed, status.code());
  EXPECT_EQ("var/msglint/findings.json: Input/output error", status.message());
  EXPECT_EQ("Input/output error", status.cause());
  EXPECT_TRUE(pnl::Status().WithMessage("x").ok());
  EXPECT_EQ("", pnl::Status().WithMessage("x").message());
}

}  // namespace
