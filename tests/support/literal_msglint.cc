// A test program that runs the audit exactly as sbin/msglint does (same
// arguments, current directory the installation, same exit status) but with
// every XML query evaluated as written and every file parsed on each load
// (pnl_xml::SetLiteralEvaluation). Its output is what the fast evaluation
// must reproduce byte for byte. Never installed.
#include "pnl/xml.h"
#include "testutils/msglint.h"

int main(int argc, char** argv) {
  pnl_xml::SetLiteralEvaluation(true);
  return kelmain(argc, argv);
}
