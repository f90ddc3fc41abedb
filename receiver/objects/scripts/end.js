// After all objects are defined.

defineGlobal('oipfObjectFactory', factory);

return dispatch;
