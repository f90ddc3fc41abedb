var fromScript = 'a script of the carousel';
