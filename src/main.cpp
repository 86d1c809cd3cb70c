// The program: a mode's word and options in, a job done.
#include <string>

#include "CmdArgs.h"
#include "Job.h"
#include "OutOfMemory.h"

int main(int argc, char** argv) {
  orvane::EndRunWhenOutOfMemory();
  orvane::CmdArgs args;
  const std::string mode = args.Parse(argc, argv);
  orvane::Job::Do(mode, args);
  return 0;
}
