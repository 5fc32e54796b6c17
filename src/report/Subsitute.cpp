#include "report/Subsitute.h"

Subsitute::~Subsitute() = default;

void Subsitute::substituteVariables(const QVariantHash&) { }
