USE master
GO
BACKUP DATABASE [Patients] TO DISK = N'p:\backup\MIR\Patients.bak' WITH INIT;
GO
