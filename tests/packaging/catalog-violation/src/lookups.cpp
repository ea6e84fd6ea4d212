// Looks up one known key and one that no catalog has.
QString known()
{
    return FXText("done");
}
QString unknown()
{
    return qtTrId("nowhere");
}
