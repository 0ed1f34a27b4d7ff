#include "orvsdkrpcd/Run.h"

int main(int argc, char** argv) {
   return orvsdkrpcd::run({argv + 1, argv + argc});
}
