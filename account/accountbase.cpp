#include "account/accountbase.h"

AccountBase::AccountBase(QObject *parent) : QObject(parent) { }

AccountBase::~AccountBase() = default;
