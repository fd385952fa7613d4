#include <Vexil.h>

int main() {
  Vexil::Detector* detector = GetInstance();
  return detector->Detect({}) ? 0 : 1;
}
